#include "accounts/views/AddKeyView.h"
#include "accounts/views/KeySheets.h"
#include "accounts/views/PassphraseSheet.h"
#include "foundation/settings/SettingsKeys.h"
#include "foundation/views/panes/Banner.h"
#include "keychain/FileKeychain.h"
#include "localb2/Service.h"
#include "shell/window/AccountMenu.h"
#include "shell/window/DetailArea.h"
#include "shell/window/MainWindow.h"
#include "shell/window/Sidebar.h"
#include "tests/support/QtRun.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenuBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <gmock/gmock.h>

#include <algorithm>

namespace {

/// The window of somebody who has no keyring: a key is in the file before the program starts.
class StoredKeysFileTest : public testing::Test {
protected:
    StoredKeysFileTest()
    {
        for (const auto* const variable : {"XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
            qputenv(variable, home.path().toUtf8());
        const auto key = service.masterKeys().front();
        qtRun(file.save(key.keyID, key.applicationKey, "Laptop", key.keyID));
    }
    ~StoredKeysFileTest() override
    {
        window.reset();
        if (!application)
            return;
        bool hasEnded = false;
        application->shutDown([&] { hasEnded = true; });
        spinUntil([&] { return hasEnded; });
    }

    void start()
    {
        application = std::make_unique<Application>(CommandLine{.endpoint = service.url()}, std::nullopt);
        application->settings->set(SettingsKeys::connectedWelcomeShown, true);
        window = std::make_unique<MainWindow>(*application);
        window->show();
        QApplication::setActiveWindow(window.get());
    }

    bool isOffered(const QString& verb)
    {
        return spinUntil([&] {
            const auto* const button = qobject_cast<QPushButton*>(QApplication::focusWidget());
            return button && button->isVisible() && button->text() == verb;
        });
    }

    bool isBrowsing()
    {
        return spinUntil([this] { return application->root->detailState().kind == DetailState::Kind::pane; });
    }

    static QStringList textsOf(const QMenu& menu)
    {
        QStringList texts;
        for (const auto* const action : menu.actions())
            texts << action->text();
        return texts;
    }

    /// Types into the fields of the open sheet and presses Return in the last.
    void answer(const QStringList& texts)
    {
        const auto fields = window->keySheets().sheet()->findChildren<QLineEdit*>();
        ASSERT_EQ(fields.size(), texts.size());
        for (qsizetype i = 0; i < texts.size(); ++i)
            fields[i]->setText(texts[i]);
        QTest::keyClick(fields.last(), Qt::Key_Return);
    }

    template <class SheetType>
    bool isOpen()
    {
        return spinUntil([this] { return qobject_cast<SheetType*>(window->keySheets().sheet()) != nullptr; });
    }

    QTemporaryDir home;
    localb2::Service service{{.directory = home.path().toStdString() + "/service", .seed = "demo"}};
    Settings settings{{}};
    ActivityLog log{settings, home.path().toStdString() + "/Logs"};
    std::filesystem::path directory{home.path().toStdString() + "/kestrovan"};
    FileKeychain file{directory, log};
    std::unique_ptr<Application> application;
    std::unique_ptr<MainWindow> window;
};

} // namespace

TEST_F(StoredKeysFileTest, LockedKeysAreUnlockedByKeyboardAndNothingHiddenIsChosen)
{
    qtRun(file.setLegacyPassphrase({}, "horse"));
    start();
    ASSERT_TRUE(isOffered(QStringLiteral("Unlock…")));
    for (int step = 0; step < 8; ++step) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        for (const auto* const list : {&window->sidebar().surfaceList(), &window->sidebar().bucketList()})
            EXPECT_FALSE(list->hasFocus()) << step;
    }
    window->sidebar().takeFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Up);
    QMenu keys;
    fillKeyMenu(keys, *application, window->keySheets());
    EXPECT_EQ(textsOf(keys),
        QStringList({QStringLiteral("Your keys are locked with a passphrase"), QString(), QStringLiteral("Add Key…")}));
    auto* const account = window->menuBar()->actions().at(4)->menu();
    Q_EMIT account->aboutToShow();
    EXPECT_EQ(textsOf(*account).mid(0, 3),
        QStringList({QStringLiteral("Key in Use"), QStringLiteral("Unlock…"), QStringLiteral("Add Key…")}));

    window->keySheets().addKey();
    ASSERT_TRUE(isOpen<PassphraseSheet>()) << "a whole form would be typed in vain";
    answer({QStringLiteral("horse")});

    EXPECT_TRUE(isOpen<AddKeyView>());
    window->keySheets().sheet()->reject();
    EXPECT_TRUE(isBrowsing()) << "not at what a hidden row stands for";
}

TEST_F(StoredKeysFileTest, AKeyFileThatIsPutBackOpensTheKeysInTheSameRun)
{
    std::filesystem::rename(directory / "keys.key", directory / "elsewhere");
    start();
    ASSERT_TRUE(isOffered(QStringLiteral("Try Again")));
    EXPECT_FALSE(window->findChild<Banner*>()->isVisible()) << "one place says it";

    std::filesystem::rename(directory / "elsewhere", directory / "keys.key");
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);

    EXPECT_TRUE(isBrowsing());
}

TEST_F(StoredKeysFileTest, APassphraseIsChangedByWhoeverKnowsItAndThatIsSaid)
{
    qtRun(file.setLegacyPassphrase({}, "horse"));
    start();
    ASSERT_TRUE(isOffered(QStringLiteral("Unlock…")));
    window->keySheets().unlockStore();
    answer({QStringLiteral("horse")});
    ASSERT_TRUE(isBrowsing());

    window->keySheets().protectStore();
    ASSERT_TRUE(isOpen<PassphraseSheet>());
    answer({QStringLiteral("hors"), QStringLiteral("cow"), QStringLiteral("cow")});
    auto* const sheet = window->keySheets().sheet();
    const auto fields = sheet->findChildren<QLineEdit*>();
    EXPECT_TRUE(spinUntil([&] { return fields.front()->hasFocus() && fields.front()->hasSelectedText(); }));
    EXPECT_FALSE(application->root->notices.newest());

    answer({QStringLiteral("horse"), QStringLiteral("cow"), QStringLiteral("cow")});
    EXPECT_TRUE(spinUntil([&] { return application->root->notices.find("keys.passphrase") != nullptr; }));
    EXPECT_NO_THROW(qtRun(FileKeychain(directory, log).unlockLegacyStore("cow")));
}
