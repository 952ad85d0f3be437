#include "shell/window/MainWindow.h"

#include "foundation/settings/SettingsKeys.h"
#include "foundation/views/panes/Pane.h"
#include "foundation/views/panes/PaneToolBar.h"
#include "shell/window/DetailArea.h"
#include "shell/window/Sidebar.h"
#include "tests/support/QtRun.h"

#include <gmock/gmock.h>

#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMenuBar>
#include <QShortcut>
#include <QTest>

#include <map>

namespace {

/// The whole window over the demonstration.
class MainWindowTest : public testing::Test {
protected:
    MainWindowTest()
    {
        window.show();
        QApplication::setActiveWindow(&window);
    }
    ~MainWindowTest() override
    {
        bool hasEnded = false;
        application.shutDown([&] { hasEnded = true; });
        spinUntil([&] { return hasEnded; });
    }

    bool isBrowsing()
    {
        return spinUntil([this] {
            const auto& browser = application.root->browser;
            return browser.bucket->has_value() && !*browser.isLoading;
        });
    }

    bool isInFront(const Pane& pane)
    {
        return spinUntil([&] { return window.detail().front() == &pane; });
    }

    /// Titles of the menus that are always there, each with the number of its lines.
    std::vector<std::pair<QString, qsizetype>> shape()
    {
        std::vector<std::pair<QString, qsizetype>> menus;
        for (auto* const action : window.menuBar()->actions()) {
            if (action->text() != QStringLiteral("&Keys") && action->isVisible())
                menus.emplace_back(action->text(), action->menu()->actions().size());
        }
        return menus;
    }

    /// The owner of each shortcut that can be pressed in the window.
    void expectUniqueShortcuts()
    {
        std::map<QKeySequence, QString> owners;
        const auto claim = [&](const QKeySequence& keys, const QString& owner) {
            const auto [known, isFirst] = owners.emplace(keys, owner);
            EXPECT_TRUE(isFirst) << keys.toString().toStdString() << ": " << owner.toStdString() << ", "
                                 << known->second.toStdString();
        };
        for (const auto* const action : window.menuBar()->findChildren<QAction*>()) {
            for (const auto& keys : action->shortcuts())
                claim(keys, action->text());
        }
        for (const auto* const shortcut : window.findChildren<QShortcut*>(Qt::FindDirectChildrenOnly))
            claim(shortcut->key(), QStringLiteral("the window"));
    }

    Application application{CommandLine{.isDemo = true}, std::nullopt};
    MainWindow window{application};
};

TEST_F(MainWindowTest, MenusKeepTheirShapeAndNoShortcutHasTwoOwners)
{
    ASSERT_TRUE(isBrowsing());
    const auto before = shape();
    expectUniqueShortcuts();

    application.context->request(AccountSurface::keys);
    ASSERT_TRUE(isInFront(window.detail().pane(AccountSurface::keys)));
    EXPECT_EQ(shape(), before);
    expectUniqueShortcuts();
}

TEST_F(MainWindowTest, EditIsAboutTheTextFieldThatHasTheKeyboard)
{
    ASSERT_TRUE(isBrowsing());
    auto* const edit = window.menuBar()->actions().at(1)->menu();
    const auto line = [&](const QString& title) {
        for (auto* const action : edit->actions()) {
            if (action->text() == title)
                return action;
        }
        return static_cast<QAction*>(nullptr);
    };
    EXPECT_TRUE(line(QStringLiteral("Copy Name")));
    auto* const field = window.detail().front()->findChild<QLineEdit*>();
    ASSERT_TRUE(field);
    field->setFocus();
    ASSERT_TRUE(line(QStringLiteral("Paste")) && line(QStringLiteral("Copy")));
    EXPECT_TRUE(line(QStringLiteral("Paste"))->isEnabled());
    field->setText(QStringLiteral("some text"));
    line(QStringLiteral("Select All"))->trigger();
    line(QStringLiteral("Cut"))->trigger();
    EXPECT_TRUE(field->text().isEmpty());
    line(QStringLiteral("Paste"))->trigger();
    EXPECT_EQ(field->text(), QStringLiteral("some text"));
}

TEST_F(MainWindowTest, AFilterInTheSidebarOpensNoOtherBucket)
{
    ASSERT_TRUE(isBrowsing());
    std::vector<B2Bucket> many;
    for (int i = 0; i < 20; ++i)
        many.push_back({.bucketID = "id" + std::to_string(i), .bucketName = "bucket-" + std::to_string(i)});
    auto& root = *application.root;
    const auto shown = **root.browser.bucket;
    many.push_back(shown);
    root.buckets.buckets = many;
    root.flushChanges();
    QCoreApplication::processEvents();
    window.sidebar().findChild<QLineEdit*>()->setText(QStringLiteral("bucket-1"));
    QCoreApplication::processEvents();
    EXPECT_EQ((*root.browser.bucket)->bucketID, shown.bucketID);
    EXPECT_EQ(*root.selection.item, SidebarItem::bucket(shown.bucketID));
}

TEST_F(MainWindowTest, TheToolbarFollowsItsSetting)
{
    auto* const bar = window.findChild<PaneToolBar*>();
    ASSERT_TRUE(bar);
    EXPECT_EQ(bar->labels(), PaneToolBar::Labels::titleAndIcon);
    application.settings->set(SettingsKeys::toolbarLabels, std::string_view("iconOnly"));
    EXPECT_EQ(bar->labels(), PaneToolBar::Labels::iconOnly);
    Q_EMIT bar->labelsChosen(PaneToolBar::Labels::titleOnly);
    EXPECT_EQ(application.settings->text(SettingsKeys::toolbarLabels), "titleOnly");
}

} // namespace
