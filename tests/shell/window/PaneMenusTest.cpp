#include "shell/window/PaneMenus.h"

#include <gmock/gmock.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

PaneCommand command(const char* title)
{
    return {.title = QString::fromUtf8(title)};
}

std::vector<std::string> linesOf(const PaneCommands& commands)
{
    std::vector<std::string> lines;
    for (const auto& item : objectMenuItems(commands))
        lines.push_back(item.isSeparator() ? "-" : item.command->title.toStdString());
    return lines;
}

} // namespace

TEST(ObjectMenuTest, SeparatesOnlyGroupsThatAreThere)
{
    EXPECT_THAT(linesOf({}), IsEmpty());
    PaneCommands commands;
    commands.finishMigration = command("Finish");
    EXPECT_THAT(linesOf(commands), ElementsAre("Finish"));
    commands.removeJob = command("Remove");
    commands.newObject = command("New");
    commands.checkAll = command("Check All");
    commands.moreObjectCommands = {command("Switch")};
    EXPECT_THAT(linesOf(commands), ElementsAre("New", "-", "Check All", "-", "Remove", "Finish", "-", "Switch"));
}
