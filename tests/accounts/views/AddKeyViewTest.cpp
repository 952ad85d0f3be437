#include "accounts/views/AddKeyView.h"

#include "B2Kit/transport/B2CurlTransport.h"
#include "accounts/views/SecretField.h"
#include "keychain/MemoryKeychain.h"
#include "localb2/Service.h"
#include "tests/support/QtRun.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <gmock/gmock.h>

namespace {

class AddKeyViewTest : public testing::Test {
protected:
    void open(std::optional<KnownKey> known = {}, AfterAdding after = AfterAdding::switchToNewKey)
    {
        view = new AddKeyView(store, std::move(known), after, &window);
        view->setAttribute(Qt::WA_DeleteOnClose);
        view->onFinished = [this](const std::string& keyID) { finished.push_back(keyID); };
        window.show();
        view->open();
        QApplication::setActiveWindow(view);
        QApplication::processEvents();
        verb = button(QStringLiteral("Add Key"));
    }

    QPushButton* button(const QString& text)
    {
        for (auto* const found : view->findChildren<QPushButton*>()) {
            if (found->text() == text)
                return found;
        }
        return nullptr;
    }

    QLineEdit& field(const char* name)
    {
        for (auto* const found : view->findChildren<QLineEdit*>()) {
            if (found->accessibleName() == QLatin1String(name))
                return *found;
        }
        throw std::runtime_error("no such field");
    }

    bool shows(const QString& text)
    {
        const auto labels = view->findChildren<QLabel*>();
        return std::ranges::any_of(
            labels, [&](const QLabel* label) { return label->isVisible() && label->text() == text; });
    }

    QTemporaryDir directory;
    /// Late enough for the check to be seen while it runs.
    localb2::Service service{{.directory = directory.path().toStdString() + "/service",
        .seed = "demo",
        .latency = std::chrono::milliseconds(60)}};
    localb2::MasterKey master = service.masterKey();
    Settings settings{{}};
    ActivityLog log{settings, directory.path().toStdString() + "/Logs"};
    MemoryKeychain keychain;
    ClientFactory clients{
        std::make_shared<B2CurlTransport>(B2CurlTransportOptions{}), std::make_shared<B2NullLogSink>(), service.url()};
    KeyStore store{keychain, clients, settings, log};
    QWidget window;
    QPointer<AddKeyView> view;
    QPushButton* verb = nullptr;
    std::vector<std::string> finished;
};

} // namespace

TEST_F(AddKeyViewTest, AddsAKeyAndCloses)
{
    open();
    EXPECT_EQ(QApplication::focusWidget(), &field("keyName"));
    EXPECT_FALSE(verb->isEnabled());
    EXPECT_EQ(verb->toolTip(), QStringLiteral("Enter the keyID and the applicationKey."));

    QTest::keyClicks(&field("keyID"), QLatin1Char(' ') + QString::fromStdString(master.keyID) + QLatin1Char(' '));
    QTest::keyClicks(&field("applicationKey"), QString::fromStdString(master.applicationKey));
    EXPECT_TRUE(verb->isEnabled()) << "the name is not required";
    QTest::keyClick(&field("applicationKey"), Qt::Key_Return);
    ASSERT_TRUE(spinUntil([&] { return verb->text() == QStringLiteral("Checking…"); }));
    EXPECT_FALSE(verb->isEnabled());

    ASSERT_TRUE(spinUntil([&] { return !view; }));
    EXPECT_THAT(finished, testing::ElementsAre(master.keyID));
    EXPECT_TRUE(*store.session);
    EXPECT_EQ(store.keys->size(), 1U);
}

TEST_F(AddKeyViewTest, ARefusedKeyStaysInTheSheetWithTheReason)
{
    open(KnownKey{master.keyID, "Office"}, AfterAdding::keepSession);
    EXPECT_EQ(QApplication::focusWidget(), &field("applicationKey"));
    EXPECT_TRUE(field("keyID").isReadOnly());

    QTest::keyClicks(&field("applicationKey"), QStringLiteral("K004wrong"));
    QTest::mouseClick(verb, Qt::LeftButton);
    const auto refused = QStringLiteral("Backblaze did not accept this key. Check the applicationKey and try again.");
    ASSERT_TRUE(spinUntil([&] { return shows(refused); }));
    EXPECT_TRUE(verb->isEnabled());
    EXPECT_TRUE(qtRun(keychain.entries()).empty());

    field("applicationKey").setText(QString::fromStdString(master.applicationKey));
    QTest::mouseClick(verb, Qt::LeftButton);
    ASSERT_TRUE(spinUntil([&] { return !view; }));
    EXPECT_FALSE(*store.session) << "the session stays as it was";
    EXPECT_EQ(store.keys->front().label, "Office");
}

TEST_F(AddKeyViewTest, EscapeEndsTheCheckAndWipesTheSecret)
{
    open();
    auto& secret = *view->findChild<SecretField*>();
    QTest::keyClicks(&field("keyID"), QString::fromStdString(master.keyID));
    QTest::keyClicks(&secret.edit(), QStringLiteral("K004canary"));
    secret.setRevealed(true);
    QTest::keyClick(&secret.edit(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(secret.secret(), Secret("K004canary")) << "there is no undo history";
    EXPECT_TRUE(secret.edit().inputMethodHints().testFlag(Qt::ImhSensitiveData));
    QTest::mouseClick(verb, Qt::LeftButton);

    QTest::keyClick(view, Qt::Key_Escape);
    EXPECT_TRUE(secret.isEmpty());
    secret.edit().undo();
    EXPECT_TRUE(secret.isEmpty());
    ASSERT_TRUE(spinUntil([&] { return !view; }));
    EXPECT_TRUE(finished.empty());
}
