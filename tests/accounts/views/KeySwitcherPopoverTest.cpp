#include "accounts/switcher/views/KeySwitcherPopover.h"

#include "accounts/switcher/KeySwitcherModel.h"
#include "accounts/switcher/views/KeySwitcherHeader.h"
#include "accounts/switcher/views/KeySwitcherList.h"
#include "foundation/QtText.h"
#include "foundation/views/SearchField.h"
#include "keychain/MemoryKeychain.h"
#include "tests/support/QtRun.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

KeySwitcherRow row(const std::string& title)
{
    return {.key = {"id-" + title, title, "acc"}, .title = title};
}

KeySwitcherContent contentOf(int keyCount)
{
    KeySwitcherContent content{.hasKeys = true};
    content.card = KeySwitcherCard{.key = {"current", "In use", "acc"}, .title = "In use"};
    KeySwitcherGroup group{.id = "acc", .title = "Home"};
    for (int i = 0; i < keyCount; ++i)
        group.rows.push_back(row("key " + std::to_string(i)));
    if (keyCount > 0)
        content.groups.push_back(std::move(group));
    return content;
}

class KeySwitcherPopoverTest : public testing::Test {
protected:
    KeySwitcherPopoverTest()
    {
        window.resize(860, 560);
        header.setGeometry(8, 8, 220, 60);
        window.show();
        QApplication::setActiveWindow(&window);
    }

    void open(const KeySwitcherContent& content)
    {
        const auto note = [this](std::string name) {
            return [this, name](const StoredKey& key) { done.push_back(name + " " + key.label); };
        };
        KeySwitcherActions actions{.switchTo = note("switch to"),
            .info = note("info"),
            .rename = note("rename"),
            .remove = note("remove"),
            .removeRevoked = [this] { done.emplace_back("remove revoked"); },
            .addKey = [this] { done.emplace_back("add key"); },
            .retry = [this] { done.emplace_back("retry"); }};
        popover = new KeySwitcherPopover(std::move(actions), header);
        popover->setContent(content);
        popover->openUnderHeader();
        QApplication::processEvents();
        const QRect addKey = command(QStringLiteral("Add Key"))->geometry();
        EXPECT_LE(addKey.bottom(), popover->height());
        if (list().isVisible())
            EXPECT_LT(list().geometry().bottom(), addKey.top());
    }

    /// Sends a key to the focused widget, as the desktop would.
    void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QWidget* const open = QApplication::activePopupWidget();
        ASSERT_TRUE(open);
        QTest::keyClick(open->focusWidget() ? open->focusWidget() : open, static_cast<Qt::Key>(key), modifiers);
        QApplication::processEvents();
    }

    KeySwitcherList& list() { return *popover->findChild<KeySwitcherList*>(); }
    std::string chosen() { return fromQString(list().chosen().data().toString()); }

    bool isOpen()
    {
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return popover && popover->isVisible();
    }

    QToolButton* command(const QString& start)
    {
        for (auto* const button : popover->findChildren<QToolButton*>()) {
            if (button->text().startsWith(start) && button->isVisible())
                return button;
        }
        return nullptr;
    }

    QWidget window;
    QWidget header{&window};
    QPointer<KeySwitcherPopover> popover;
    std::vector<std::string> done;
};

} // namespace

TEST_F(KeySwitcherPopoverTest, ArrowsChooseAKeyAndEnterSwitchesToIt)
{
    auto content = contentOf(3);
    content.groups.push_back({.id = "", .title = "Account not yet known", .rows = {row("stranger")}});
    open(content);
    EXPECT_TRUE(list().hasFocus());
    EXPECT_FALSE(list().chosen().isValid()) << "a stray Enter changes nothing";
    press(Qt::Key_Return);
    EXPECT_THAT(done, IsEmpty());

    press(Qt::Key_Down);
    EXPECT_EQ(chosen(), "key 0") << "headings are passed over";
    press(Qt::Key_End);
    EXPECT_EQ(chosen(), "stranger");
    press(Qt::Key_Up);
    EXPECT_EQ(chosen(), "key 2");
    press(Qt::Key_Home);
    EXPECT_EQ(chosen(), "key 0");
    press(Qt::Key_Down);
    press(Qt::Key_Return);

    EXPECT_THAT(done, ElementsAre("switch to key 1"));
    EXPECT_FALSE(isOpen());
}

TEST_F(KeySwitcherPopoverTest, ArrowsLeadOutOfTheListAndEscapeCloses)
{
    open(contentOf(2));
    press(Qt::Key_End);
    press(Qt::Key_Down);
    ASSERT_TRUE(command(QStringLiteral("Add Key")));
    EXPECT_TRUE(command(QStringLiteral("Add Key"))->hasFocus());
    press(Qt::Key_Up);
    EXPECT_TRUE(list().hasFocus());
    press(Qt::Key_Home);
    press(Qt::Key_Up);
    EXPECT_FALSE(list().hasFocus()) << "on to the card";
    press(Qt::Key_Escape);
    EXPECT_FALSE(isOpen());
    EXPECT_THAT(done, IsEmpty());
}

TEST_F(KeySwitcherPopoverTest, EnterPressesTheButtonThatHasTheFocus)
{
    open(contentOf(2));
    for (auto* const button : popover->findChildren<QToolButton*>()) {
        if (button->accessibleName() == QStringLiteral("More for this key"))
            button->setFocus();
    }
    press(Qt::Key_Return);
    auto* const menu = popover->findChild<QMenu*>();
    ASSERT_TRUE(menu && menu->isVisible());
    menu->close();

    command(QStringLiteral("Add Key"))->setFocus();
    press(Qt::Key_Return);
    EXPECT_THAT(done, ElementsAre("add key"));
}

TEST_F(KeySwitcherPopoverTest, AmongManyKeysLettersSearch)
{
    auto content = contentOf(60);
    content.groups.front().rows.at(41).subtitle = "photos only";
    open(content);
    auto* const search = popover->findChild<SearchField*>();
    ASSERT_TRUE(search->isVisible());
    EXPECT_TRUE(search->hasFocus());
    EXPECT_TRUE(popover->height() <= 600 && list().verticalScrollBar()->maximum() > 0);

    press(Qt::Key_Down);
    press(Qt::Key_Down);
    EXPECT_EQ(chosen(), "key 1");
    press(Qt::Key_P);
    EXPECT_TRUE(search->hasFocus());
    QTest::keyClicks(search, QStringLiteral("hotos"));
    EXPECT_EQ(list().model()->rowCount(), 2) << "the heading and one key";
    EXPECT_EQ(chosen(), "key 41");
    press(Qt::Key_Escape);
    EXPECT_TRUE(isOpen()) << "the first Escape empties the field";
    EXPECT_EQ(list().model()->rowCount(), 61);
    QTest::keyClicks(search, QStringLiteral("home 41"));
    press(Qt::Key_Return);
    EXPECT_THAT(done, ElementsAre("switch to key 41"));
}

TEST_F(KeySwitcherPopoverTest, ASearchWithoutAMatchMovesNothing)
{
    open(contentOf(60));
    auto* const search = popover->findChild<SearchField*>();
    const auto before = std::pair(search->pos(), popover->size());
    QTest::keyClicks(search, QStringLiteral("no such key"));
    EXPECT_EQ(std::pair(search->pos(), popover->size()), before);
    press(Qt::Key_Return);
    EXPECT_THAT(done, IsEmpty());
}

TEST_F(KeySwitcherPopoverTest, SaysThatThereAreMoreKeysBelowUntilTheLastIsReached)
{
    open(contentOf(60));
    QToolButton* further = nullptr;
    for (auto* const button : popover->findChildren<QToolButton*>()) {
        if (button->toolTip() == QStringLiteral("Show the keys further down"))
            further = button;
    }
    ASSERT_TRUE(further);
    EXPECT_TRUE(further->isVisible());
    const int before = list().verticalScrollBar()->value();
    further->click();
    EXPECT_GT(list().verticalScrollBar()->value(), before);
    press(Qt::Key_Down);
    press(Qt::Key_End);
    EXPECT_EQ(chosen(), "key 59");
    EXPECT_FALSE(further->isVisible());
}

TEST_F(KeySwitcherPopoverTest, TheMenuOfARowOffersWhatMayBeDoneWithTheKey)
{
    auto content = contentOf(1);
    content.groups.front().rows.front().canShowInfo = true;
    content.groups.front().rows.push_back(row("gone"));
    content.groups.front().rows.back().isMissing = true;
    content.revokedCount = 1;
    const auto menuOf = [](QWidget& parent) { return parent.findChild<QMenu*>(QStringLiteral("keyMenu")); };
    const auto textsOf = [](const QMenu& menu) {
        std::vector<std::string> texts;
        for (const auto* const action : menu.actions()) {
            if (!action->isSeparator())
                texts.push_back((action->isEnabled() ? "" : "-") + fromQString(action->text()));
        }
        return texts;
    };
    open(content);
    press(Qt::Key_Down);
    QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, {}, {});
    QApplication::sendEvent(list().viewport(), &menuKey);
    ASSERT_TRUE(menuOf(*popover));
    EXPECT_THAT(textsOf(*menuOf(*popover)),
        ElementsAre("Switch to This Key", "Key Details…", "Rename…", "Remove from Kestrovan"));
    menuOf(*popover)->actions().at(1)->trigger();
    EXPECT_THAT(done, ElementsAre("info key 0"));
    EXPECT_FALSE(isOpen());

    open(content);
    press(Qt::Key_End);
    press(Qt::Key_Return);
    ASSERT_TRUE(menuOf(*popover)) << "a key the service lacks cannot be switched to";
    EXPECT_THAT(textsOf(*menuOf(*popover)), ElementsAre("-Switch to This Key", "Rename…", "Remove from Kestrovan"));
    menuOf(*popover)->actions().back()->trigger();
    EXPECT_EQ(done.back(), "remove gone");
    EXPECT_FALSE(isOpen());

    open(content);
    ASSERT_TRUE(command(QStringLiteral("Remove 1 Key Backblaze No Longer Has…")));
    command(QStringLiteral("Remove 1 Key"))->click();
    EXPECT_EQ(done.back(), "remove revoked");
}

TEST_F(KeySwitcherPopoverTest, AFailureIsShownWhileItIsOpenAndTriedAgainThere)
{
    auto content = contentOf(3);
    open(content);
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    auto* const retry = popover->findChild<QPushButton*>();
    EXPECT_FALSE(retry->isVisible());

    content.card->notConnected = "Couldn't switch to “key 2”.";
    content.card->canRetry = true;
    content.groups.front().rows.insert(content.groups.front().rows.begin(), row("new"));
    popover->setContent(content);

    EXPECT_TRUE(retry->isVisible());
    EXPECT_EQ(chosen(), "key 1") << "a change keeps the choice";
    QTest::keyClick(retry, Qt::Key_Space);
    EXPECT_THAT(done, ElementsAre("retry"));
    EXPECT_TRUE(isOpen()) << "the outcome shows here";
}

TEST_F(KeySwitcherPopoverTest, WithoutOtherKeysTheKeyboardStartsAtAddKey)
{
    for (const bool hasKeys : {true, false}) {
        auto content = contentOf(0);
        content.hasKeys = hasKeys;
        if (!hasKeys)
            content.card.reset();
        open(content);
        EXPECT_FALSE(list().isVisible());
        press(Qt::Key_Space);
        EXPECT_FALSE(isOpen());
    }
    EXPECT_THAT(done, ElementsAre("add key", "add key"));
}

TEST(KeySwitcherHeaderTest, NamesTheStateAndOpensASwitcherThatFollowsTheKeys)
{
    QTemporaryDir directory;
    Settings settings{{}};
    ActivityLog log{settings, directory.path().toStdString()};
    MemoryKeychain keychain;
    keychain.add({"k1", "<b>First</b>", std::nullopt}, "unused");
    const ClientFactory clients{nullptr, nullptr, "http://127.0.0.1:1"};
    KeyStore store{keychain, clients, settings, log};
    KeySwitcherModel model{store, keychain, settings};
    QWidget window;
    KeySwitcherHeader header{model, {}, &window};
    window.show();
    qtRun(store.reload());
    store.isStarted = true;
    ASSERT_TRUE(spinUntil([&] { return header.accessibleName() == QStringLiteral("Key in use: Not Connected"); }));
    EXPECT_TRUE(header.toolTip().contains(QStringLiteral("Shows this key and the others you can switch to")));

    header.click();
    ASSERT_TRUE(header.popover());
    auto* const list = header.popover()->findChild<KeySwitcherList*>();
    EXPECT_EQ(list->model()->rowCount(), 2);
    EXPECT_TRUE(list->model()->index(1, 0).data(Qt::ToolTipRole).toString().contains(QStringLiteral("&lt;b&gt;")))
        << "a name is not markup";
    keychain.add({"k2", "Second", std::nullopt}, "unused");
    qtRun(store.reload());
    EXPECT_TRUE(spinUntil([&] { return list->model()->rowCount() == 3; }));
    header.popover()->close();
}

TEST(KeySwitcherRowsModelTest, ASearchMeansANameBeforeAnythingElse)
{
    auto content = contentOf(20);
    content.groups.front().rows[2].subtitle = "Master Application Key 1";
    content.groups.front().rows[5].title = "19 apples";
    KeySwitcherRowsModel model;
    model.show(content.groups);
    model.setFilter(QStringLiteral("master"));
    EXPECT_EQ(model.keyAt(model.bestMatch())->key.keyID, content.groups.front().rows[2].key.keyID);
    model.setFilter(QStringLiteral("19"));
    EXPECT_EQ(model.keyAt(model.bestMatch())->title, "19 apples");
    model.setFilter(QStringLiteral("none such"));
    EXPECT_FALSE(model.bestMatch().isValid());
}

TEST(KeySwitcherRowsModelTest, StaysAValidModelThroughFilterAndChange)
{
    KeySwitcherRowsModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.show(contentOf(20).groups);
    model.setFilter(QStringLiteral("KEY 1"));
    EXPECT_EQ(model.rowCount(), 12);
    model.show(contentOf(11).groups);
    EXPECT_EQ(model.rowCount(), 3);
    EXPECT_FALSE(model.indexOf("id-key 2").isValid());
    EXPECT_EQ(model.nextKey(0, 1), model.indexOf("id-key 1"));
    model.setFilter({});
    EXPECT_EQ(model.rowCount(), 12);
}
