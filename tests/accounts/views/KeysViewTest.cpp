#include "accounts/keys/views/KeysView.h"

#include "B2Kit/transport/B2CurlTransport.h"
#include "accounts/keys/views/BucketChooser.h"
#include "accounts/keys/views/NewKeyView.h"
#include "accounts/keys/views/PermissionList.h"
#include "foundation/QtText.h"
#include "foundation/settings/Settings.h"
#include "foundation/settings/SettingsKeys.h"
#include "foundation/views/panes/Banner.h"
#include "foundation/views/panes/EmptyState.h"
#include "foundation/views/tables/DenseTableView.h"
#include "keychain/MemoryKeychain.h"
#include "localb2/Service.h"
#include "tests/accounts/views/SheetParts.h"
#include "tests/foundation/views/PaneShortcuts.h"
#include "tests/support/QtRun.h"

#include <gmock/gmock.h>

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// The pane over a real service and a store with its master key.
class KeysViewTest : public testing::Test {
protected:
    KeysViewTest()
    {
        const auto master = service.masterKey();
        keychain.add({master.keyID, "Master", master.keyID}, master.applicationKey);
        qtRun(store.reload());
        window.resize(860, 560);
        view.setParent(&window);
        view.resize(860, 560);
    }
    ~KeysViewTest() override { view.setParent(nullptr); }

    void connectWith(const std::string& keyID)
    {
        const auto key = std::ranges::find(*store.keys, keyID, &StoredKey::keyID);
        ASSERT_NE(key, store.keys->end());
        qtRun(store.connect(*key));
        model.reset(*store.session);
    }

    /// A key of the account whose secret is stored as well.
    std::string makeKey(const std::string& name, std::vector<B2Capability> capabilities, bool isStored = true)
    {
        EXPECT_TRUE(qtRun(model.create({.capabilities = std::move(capabilities), .keyName = name}, *model.session)));
        const auto made = **model.created;
        model.forgetCreated();
        if (isStored) {
            keychain.add({made.key.applicationKeyID, name, made.key.accountID}, made.applicationKey);
            qtRun(store.reload());
        }
        return made.key.applicationKeyID;
    }

    void present()
    {
        window.show();
        view.show();
        giveShortcuts(view);
        QApplication::setActiveWindow(&window);
        ASSERT_TRUE(spinUntil([&] { return *model.hasLoaded && !*model.isLoading; }));
        settle();
    }

    void settle()
    {
        model.flushChanges();
        store.flushChanges();
    }

    void control(const std::string& path, const std::string& json)
    {
        auto ask = [](std::shared_ptr<B2CurlTransport> to, std::string url, std::string body) -> Task<int> {
            B2HTTPRequest request{
                .url = std::move(url), .headers = {{"Content-Type", "application/json"}}, .body = std::move(body)};
            co_return (co_await to->data(std::move(request))).response.status;
        };
        ASSERT_EQ(qtRun(ask(transport, service.url() + "/_local/" + path, json)), 200);
    }

    std::vector<std::string> shown() const
    {
        std::vector<std::string> names;
        const auto& rows = *view.table().model();
        for (int row = 0; row < rows.rowCount(); ++row)
            names.push_back(fromQString(rows.index(row, 0).data().toString()));
        return names;
    }

    QTemporaryDir directory;
    localb2::Service service{{.directory = directory.path().toStdString() + "/service", .seed = "demo"}};
    Settings settings{{}};
    ActivityLog log{settings, directory.path().toStdString() + "/Logs"};
    MemoryKeychain keychain;
    std::shared_ptr<B2CurlTransport> transport = std::make_shared<B2CurlTransport>(B2CurlTransportOptions{});
    ClientFactory clients{transport, std::make_shared<B2NullLogSink>(), service.url()};
    KeyStore store{keychain, clients, settings, log};
    KeysModel model{log};
    QWidget window;
    mutable KeysView view{model, store, settings, log};
    QAbstractItemModelTester tester{view.table().model(), QAbstractItemModelTester::FailureReportingMode::Fatal};
};

} // namespace

TEST_F(KeysViewTest, TheSessionsOwnKeyCanBeViewedButNeverSelected)
{
    connectWith(service.masterKey().keyID);
    const auto manager =
        makeKey("a-manager", {B2Capabilities::listKeys, B2Capabilities::writeKeys, B2Capabilities::deleteKeys});
    connectWith(manager);
    present();
    auto& table = view.table();
    const int own = 0;
    ASSERT_EQ(shown().front(), "a-manager");

    table.setFocus();
    table.selectAll();
    EXPECT_EQ(view.selectedKeys().size(), shown().size() - 1);
    for (const auto& key : view.selectedKeys())
        EXPECT_NE(key.applicationKeyID, manager);

    table.clearSelection();
    QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, table.visualRect(table.model()->index(own, 0)).center());
    EXPECT_THAT(view.selectedKeys(), IsEmpty());
    EXPECT_FALSE(view.commands().remove->isEnabled);
    EXPECT_THAT(fromQString(view.commands().remove->help), HasSubstr("signed in with this key"));
    ASSERT_TRUE(view.commands().getInfo->isEnabled);
    view.commands().getInfo->run();
    auto* const details = view.findChild<Sheet*>(QStringLiteral("keyDetails"));
    ASSERT_TRUE(details);
    EXPECT_THAT(fromQString(textsOf(*details)), HasSubstr("Kestrovan is signed in with this key"));
}

TEST_F(KeysViewTest, SelectionAndOrderSurviveADeletionAndANewOrder)
{
    connectWith(service.masterKey().keyID);
    makeKey("aaa", {B2Capabilities::listFiles}, false);
    makeKey("zzz", {B2Capabilities::readFiles}, false);
    present();
    auto& table = view.table();
    table.selectRow(0);
    ASSERT_EQ(view.selectedKeys().front().keyName, "aaa");

    table.sortByColumn(static_cast<int>(KeyColumn::name), Qt::DescendingOrder);
    EXPECT_EQ(shown().front(), "zzz");
    EXPECT_EQ(view.selectedKeys().front().keyName, "aaa");
    EXPECT_EQ(settings.text(SettingsKeys::tableSort("keys")), "name:desc");

    table.setFocus();
    QTest::keyClick(&table, Qt::Key_Delete);
    auto* const question = view.findChild<Sheet*>(QStringLiteral("deleteKeys"));
    ASSERT_TRUE(question);
    EXPECT_THAT(shown(), Contains("aaa"));
    buttonOf(*question, QStringLiteral("Delete Key"))->click();
    ASSERT_TRUE(spinUntil([&] { return model.inFlight->empty() && !testing::Value(shown(), Contains("aaa")); }));
    settle();
    EXPECT_TRUE(table.currentIndex().isValid());
    EXPECT_THAT(view.selectedKeys(), IsEmpty());
    EXPECT_FALSE(view.commands().getInfo->isEnabled) << "the row that took its place was not chosen";
    EXPECT_EQ(shown().front(), "zzz");
}

TEST_F(KeysViewTest, ANewKeyGoesFromItsFormToItsSecretToItsRow)
{
    connectWith(service.masterKey().keyID);
    view.setBuckets(qtRun((*store.session)->client->listBuckets()));
    present();

    view.commands().newItem->run();
    const QPointer<NewKeyView> form = view.findChild<NewKeyView*>();
    ASSERT_TRUE(form);
    auto* const create = buttonOf(*form, QStringLiteral("Create Key"));
    EXPECT_FALSE(create->isEnabled());
    EXPECT_EQ(fromQString(create->toolTip()), "A key needs a name.");
    EXPECT_THAT(fromQString(textsOf(*form)), HasSubstr("Reaches every bucket"));
    form->findChildren<QLineEdit*>().front()->setText(QStringLiteral("two-buckets"));
    form->findChild<QComboBox*>(QStringLiteral("grants"))->setCurrentIndex(static_cast<int>(KeyPreset::fullControl));

    buttonOf(*form, QStringLiteral("All Buckets"))->click();
    auto* const chooser = form->findChild<BucketChooser*>();
    ASSERT_TRUE(chooser);
    auto* const list = chooser->findChild<QListView*>();
    for (int row = 0; row < 2; ++row)
        list->model()->setData(list->model()->index(row, 0), Qt::Checked, Qt::CheckStateRole);
    buttonOf(*chooser, QStringLiteral("Choose 2 Buckets"))->click();
    EXPECT_TRUE(buttonOf(*form, QStringLiteral("2 Buckets")));
    EXPECT_THAT(fromQString(textsOf(*form)), HasSubstr("so those are left out"));

    create->click();
    EXPECT_FALSE(*model.isWorking) << "asks first";
    auto* const question = form->findChild<Sheet*>(QStringLiteral("multiBucketQuestion"));
    ASSERT_TRUE(question);
    buttonOf(*question, QStringLiteral("Create Anyway"))->click();

    CreatedKeyView* sheet = nullptr;
    ASSERT_TRUE(spinUntil([&] { return (sheet = window.findChild<CreatedKeyView*>()) != nullptr; }));
    EXPECT_TRUE(!form || !form->isVisible());
    EXPECT_THAT(fromQString(textsOf(*sheet)), HasSubstr((*model.created)->applicationKey));
    boxOf(*sheet, QStringLiteral("I have saved"))->setChecked(true);
    buttonOf(*sheet, QStringLiteral("Done"))->click();
    EXPECT_FALSE(*model.created);
    ASSERT_TRUE(spinUntil([&] { return view.selectedKeys().size() == 1; }));
    EXPECT_EQ(view.selectedKeys().front().keyName, "two-buckets");
    EXPECT_EQ(view.selectedKeys().front().bucketIDs.size(), 2U);
}

TEST_F(KeysViewTest, ADuplicateKeyIsNamedWhereTheSecretIsShown)
{
    connectWith(service.masterKey().keyID);
    present();
    ASSERT_TRUE(spinUntil([&] { return *model.hasLoaded; }));
    control("faults", R"({"kind": "loseReply", "operation": "b2_create_key", "count": 1})");
    view.commands().newItem->run();
    auto* const form = view.findChild<NewKeyView*>();
    form->findChildren<QLineEdit*>().front()->setText(QStringLiteral("backup"));
    buttonOf(*form, QStringLiteral("Create Key"))->click();

    CreatedKeyView* sheet = nullptr;
    ASSERT_TRUE(spinUntil([&] { return (sheet = window.findChild<CreatedKeyView*>()) != nullptr; }));
    EXPECT_THAT(fromQString(textsOf(*sheet)), HasSubstr("a second key named “backup”"));
    ASSERT_TRUE(spinUntil([&] { return textsOf(*sheet).contains(QStringLiteral("Its keyID is ")); }));
    const auto twin = std::ranges::find_if(*model.keys, [&](const auto& key) {
        return key.keyName == "backup" && key.applicationKeyID != (*model.created)->key.applicationKeyID;
    });
    ASSERT_NE(twin, model.keys->end());
    EXPECT_THAT(fromQString(textsOf(*sheet)), HasSubstr(twin->applicationKeyID));
    model.forgetCreated();
}

TEST_F(KeysViewTest, ARefusedNewKeyKeepsItsForm)
{
    connectWith(service.masterKey().keyID);
    present();
    view.commands().newItem->run();
    auto* const form = view.findChild<NewKeyView*>();
    form->findChildren<QLineEdit*>().front()->setText(QStringLiteral("nobody"));
    control("faults",
        R"({"kind": "status", "operation": "b2_create_key", "count": 1, "status": 403, "code": "cap_exceeded"})");

    buttonOf(*form, QStringLiteral("Create Key"))->click();

    EXPECT_TRUE(spinUntil([&] { return textsOf(*form).contains(QStringLiteral("Could not create key “nobody”.")); }));
    EXPECT_TRUE(form->isVisible());
    EXPECT_TRUE(buttonOf(*form, QStringLiteral("Create Key"))->isEnabled());
    EXPECT_FALSE(view.findChild<Banner*>()->isVisible()) << "said once";
}

TEST_F(KeysViewTest, NoNoteOfTheNewKeyFormCoversItsFields)
{
    connectWith(service.masterKey().keyID);
    view.setBuckets(qtRun((*store.session)->client->listBuckets()));
    present();
    view.commands().newItem->run();
    auto* const form = view.findChild<NewKeyView*>();
    form->findChild<QComboBox*>(QStringLiteral("grants"))->setCurrentIndex(static_cast<int>(KeyPreset::custom));
    QTest::qWait(50);

    auto* const list = form->findChild<PermissionList*>();
    for (auto* const box : list->findChildren<QCheckBox*>())
        box->setChecked(true);
    QTest::qWait(50);
    form->resize(form->width(), 100);
    EXPECT_EQ(list->height(), list->sizeHint().height()) << "a sheet is never lower than its fields need";

    form->setMinimumHeight(0);
    form->resize(form->width(), form->height() - 80); // A small screen.
    QTest::qWait(50);
    int bottom = -1;
    for (auto* const widget : list->parentWidget()->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        EXPECT_GT(widget->geometry().top(), bottom);
        bottom = widget->geometry().bottom();
        EXPECT_GE(widget->height(), widget->hasHeightForWidth() ? widget->heightForWidth(widget->width()) : 20);
    }
    EXPECT_LT(bottom, list->parentWidget()->height());
}

TEST_F(KeysViewTest, RowsOfAnotherSessionAreRemovedFirst)
{
    connectWith(service.masterKey().keyID);
    const auto reader = makeKey("reader", {B2Capabilities::readFiles});
    present();
    ASSERT_THAT(shown(), Contains("reader"));
    view.commands().newItem->run();
    const QPointer<NewKeyView> form = view.findChild<NewKeyView*>();
    ASSERT_TRUE(form);

    // The store has switched, and the model does not know yet.
    qtRun(store.connect(*std::ranges::find(*store.keys, reader, &StoredKey::keyID)));
    settle();
    EXPECT_THAT(shown(), IsEmpty());

    model.reset(*store.session);
    settle();
    EXPECT_THAT(fromQString(textsOf(view)), HasSubstr("This Key Cannot Manage Keys"));
    EXPECT_TRUE(!form || !form->isVisible()) << "it offers what the other key may do";
    EXPECT_FALSE(view.commands().newItem->isEnabled);
}
