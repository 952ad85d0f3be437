#include "foundation/views/panes/PaneSlots.h"
#include "foundation/views/panes/PaneToolBar.h"
#include "foundation/views/panes/PaneToolbarLayout.h"
#include "tests/foundation/views/Scene.h"

#include <QAction>
#include <QMenu>
#include <QTest>
#include <QToolButton>

#include <gmock/gmock.h>

using PaneToolbarLayout::Slot;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

PaneCommand command(const char* title, std::function<void()> run = [] {})
{
    return {.title = QString::fromUtf8(title), .run = std::move(run)};
}

std::vector<Slot> slotsOf(const std::vector<PaneToolbarLayout::Item>& items)
{
    std::vector<Slot> shown;
    for (const auto& item : items)
        shown.push_back(item.slot);
    return shown;
}

PaneCommands filePane()
{
    PaneCommands commands;
    commands.refresh = command("Refresh");
    commands.getInfo = command("Get Info");
    commands.upload = command("Upload Files…");
    commands.uploadFolder = command("Upload Folder…");
    commands.remove = command("Delete");
    commands.newFolder = command("New Folder");
    return commands;
}

QToolButton& buttonOf(PaneToolBar& bar, const char* title)
{
    for (auto* const button : bar.findChildren<QToolButton*>()) {
        if (button->defaultAction() && button->defaultAction()->text() == QString::fromUtf8(title))
            return *button;
    }
    throw std::runtime_error(std::string("no button ") + title);
}

} // namespace

TEST(PaneSlotsTest, NoTwoCommandsShareAShortcutInAnyPane)
{
    PaneCommands hiding;
    hiding.hide = command("Hide");
    for (const auto& commands : {PaneCommands(), hiding}) {
        std::map<QKeySequence, QString> owners;
        for (const auto& slot : paneSlots()) {
            for (const auto& keys : shortcutsIn(commands, slot)) {
                const auto [owner, isFirst] = owners.emplace(keys, slot.title);
                EXPECT_TRUE(isFirst) << keys.toString().toStdString() << ": " << slot.title.toStdString() << " and "
                                     << owner->second.toStdString();
            }
        }
    }
    EXPECT_TRUE(shortcutsIn({}, paneSlot(&PaneCommands::remove)).contains(Qt::Key_Delete));
    EXPECT_FALSE(shortcutsIn(hiding, paneSlot(&PaneCommands::remove)).contains(Qt::Key_Delete));
}

TEST(PaneToolbarLayoutTest, ShowsWhatIsThereInTheOrderOfTheSlots)
{
    auto commands = filePane();
    EXPECT_THAT(slotsOf(PaneToolbarLayout::items(commands)),
        ElementsAre(Slot::newFolder, Slot::upload, Slot::remove, Slot::getInfo));
    EXPECT_THAT(slotsOf(PaneToolbarLayout::paneItems(commands)), ElementsAre(Slot::refresh));
    EXPECT_THAT(PaneToolbarLayout::items({}), IsEmpty());

    commands.shareLinks = {command("1 hour"), command("1 day")};
    const auto items = PaneToolbarLayout::items(commands);
    EXPECT_EQ(items[3].slot, Slot::share);
    EXPECT_EQ(items[3].command.title, QStringLiteral("Copy Share Link"));
    EXPECT_EQ(items[3].menu.size(), 2u);
    commands.shareLinks.pop_back();
    EXPECT_TRUE(PaneToolbarLayout::items(commands)[3].menu.empty()) << "one link is a single button";
}

TEST(PaneToolBarTest, GivesUpItsTitlesButNoCommandWhenNarrow)
{
    PaneToolBar bar;
    QAction transfers(QStringLiteral("Transfers"));
    bar.addAtEnd(&transfers);
    bar.showCommands(filePane());
    bar.resize(bar.widthWithTitles() + 40, 38);
    present(bar);
    EXPECT_EQ(bar.toolButtonStyle(), Qt::ToolButtonTextBesideIcon);

    bar.resize(bar.widthWithTitles() * 3 / 5, 38);
    QApplication::processEvents();
    EXPECT_EQ(bar.toolButtonStyle(), Qt::ToolButtonIconOnly);
    EXPECT_TRUE(buttonOf(bar, "Refresh").isVisible());
    EXPECT_EQ(buttonOf(bar, "Refresh").toolTip(), QStringLiteral("Refresh (F5)"));
    EXPECT_EQ(buttonOf(bar, "New Folder").accessibleName(), QStringLiteral("New Folder"));
    EXPECT_NE(buttonOf(bar, "New Folder").focusPolicy(), Qt::NoFocus);
    EXPECT_EQ(bar.actions().constLast(), &transfers);
}

TEST(PaneToolBarTest, AButtonStaysWithTheKeyboardAndRunsTheCommandPublishedLast)
{
    PaneToolBar bar;
    auto commands = filePane();
    bar.showCommands(commands);
    present(bar);
    auto* const button = &buttonOf(bar, "New Folder");
    button->setFocus();
    int made = 0;
    commands.newFolder = command("New Folder", [&] { ++made; });
    bar.showCommands(commands);
    ASSERT_EQ(&buttonOf(bar, "New Folder"), button);
    EXPECT_TRUE(button->hasFocus());
    button->click();
    EXPECT_EQ(made, 1);
}

TEST(PaneToolBarTest, ACommandMayBringAnotherPaneToTheFront)
{
    PaneToolBar bar;
    PaneCommands commands;
    commands.newItem = command("Leave", [&] { bar.showCommands(filePane()); });
    bar.showCommands(commands);
    present(bar);
    QTest::mouseClick(&buttonOf(bar, "Leave"), Qt::LeftButton);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    EXPECT_TRUE(buttonOf(bar, "Upload Files…").isVisible());
}

TEST(PaneToolBarTest, LabelStylesKeepTheirStoredTexts)
{
    using Labels = PaneToolBar::Labels;
    for (const auto labels : {Labels::titleAndIcon, Labels::titleOnly, Labels::iconOnly})
        EXPECT_EQ(PaneToolBar::labelsFrom(PaneToolBar::labelsText(labels)), labels);
    EXPECT_EQ(PaneToolBar::labelsFrom("nonsense"), Labels::titleAndIcon);
    EXPECT_EQ(PaneToolBar::labelsText(Labels::titleOnly), "titleOnly");

    PaneToolBar bar;
    bar.showCommands(filePane());
    bar.setLabels(Labels::titleOnly);
    bar.resize(bar.widthWithTitles() + 40, 38);
    present(bar);
    EXPECT_EQ(bar.toolButtonStyle(), Qt::ToolButtonTextOnly);
}
