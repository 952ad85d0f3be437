#include "foundation/views/panes/PaneSlots.h"

#include <QAction>
#include <QCoreApplication>
#include <QMenu>

#include <algorithm>
#include <vector>

namespace {

QString slotText(const char* text)
{
    return QCoreApplication::translate("PaneSlots", text);
}

std::vector<PaneSlot> makeSlots()
{
    using C = PaneCommands;
    const auto command = Qt::CTRL;
    return {
        {&C::newItem, slotText("New"), Symbol::add, {command | Qt::Key_N}},
        {&C::newFolder, slotText("New Folder"), Symbol::folder, {command | Qt::SHIFT | Qt::Key_N}},
        {&C::open, slotText("Open"), Symbol::folderOpen, {}},
        {&C::quickLook, slotText("Quick Look"), Symbol::eye, {command | Qt::Key_Y}},
        {&C::getInfo, slotText("Get Info"), Symbol::info,
            {command | Qt::Key_I, Qt::ALT | Qt::Key_Return, Qt::ALT | Qt::Key_Enter}},
        {&C::reveal, slotText("Reveal in Bucket"), Symbol::showInFolder, {command | Qt::Key_Return}, true},
        {&C::upload, slotText("Upload"), Symbol::upload, {command | Qt::Key_U}},
        {&C::uploadFolder, slotText("Upload Folder…"), Symbol::folderUpload, {command | Qt::SHIFT | Qt::Key_U}},
        {&C::unfinishedUploads, slotText("Unfinished Uploads…"), Symbol::unfinished, {}},
        {&C::download, slotText("Download"), Symbol::download, {command | Qt::Key_D}},
        {&C::hide, slotText("Hide"), Symbol::eyeOff, {Qt::Key_Delete, command | Qt::Key_Backspace}, true},
        {&C::unhide, slotText("Unhide"), Symbol::eye, {command | Qt::SHIFT | Qt::Key_Backspace}, true},
        {&C::rename, slotText("Rename…"), {}, {Qt::Key_F2}, true},
        {&C::remove, slotText("Delete"), Symbol::trash, {Qt::SHIFT | Qt::Key_Delete, command | Qt::Key_Delete}, true},
        {&C::refresh, slotText("Refresh"), Symbol::refresh, {Qt::Key_F5, command | Qt::Key_R}},
        {&C::copyItems, slotText("Copy"), Symbol::copy, QKeySequence::keyBindings(QKeySequence::Copy), true},
        {&C::copyPaths, slotText("Copy Path"), {}, {command | Qt::SHIFT | Qt::Key_C}, true},
        {&C::paste, slotText("Paste"), {}, QKeySequence::keyBindings(QKeySequence::Paste), true},
        {&C::moveHere, slotText("Move Here"), {}, {command | Qt::ALT | Qt::Key_V}, true},
        {&C::find, slotText("Find"), Symbol::search, {QKeySequence::Find}},
        {&C::back, slotText("Back"), Symbol::arrowLeft, {Qt::ALT | Qt::Key_Left}},
        {&C::forward, slotText("Forward"), Symbol::arrowRight, {Qt::ALT | Qt::Key_Right}},
        {&C::up, slotText("Up"), Symbol::arrowUp, {Qt::ALT | Qt::Key_Up}},
        {&C::editPath, slotText("Enter a Path"), {}, {command | Qt::Key_L}},
        {&C::cleanUp, slotText("Clean Up…"), Symbol::versions, {}},
    };
}

} // namespace

std::span<const PaneSlot> paneSlots()
{
    static const std::vector<PaneSlot> all = makeSlots();
    return all;
}

const PaneSlot& paneSlot(PaneSlot::Field command)
{
    static const PaneSlot none{};
    const auto found = std::ranges::find(paneSlots(), command, &PaneSlot::command);
    return found == paneSlots().end() ? none : *found;
}

QList<QKeySequence> shortcutsIn(const PaneCommands& commands, const PaneSlot& slot)
{
    if (slot.command == &PaneCommands::remove && !commands.hide)
        return QList<QKeySequence>{Qt::Key_Delete} + slot.shortcuts;
    if (slot.command == &PaneCommands::hide && !commands.hide)
        return {};
    return slot.shortcuts;
}

void renderCommand(QAction& action, const PaneCommand& command)
{
    action.setText(command.title);
    action.setEnabled(command.isEnabled);
    // Without help a menu shows no tooltip, and a button shows the title.
    action.setToolTip(command.help);
    if (command.symbol)
        action.setIcon(symbolIcon(*command.symbol));
}

void renderSlot(QAction& action, const PaneSlot& slot)
{
    action.setText(slot.title);
    action.setToolTip({});
    action.setIcon(slot.symbol ? symbolIcon(*slot.symbol) : QIcon());
}

void addCommand(QMenu& menu, const PaneCommands& commands, PaneSlot::Field field)
{
    const auto& command = commands.*field;
    if (!command)
        return;
    const auto& slot = paneSlot(field);
    auto* const action = menu.addAction(QString(), command->run);
    renderSlot(*action, slot);
    renderCommand(*action, *command);
    action->setShortcuts(shortcutsIn(commands, slot));
}

void addCommand(QMenu& menu, const PaneCommand& command)
{
    auto* const action = menu.addAction(QString(), command.run);
    renderCommand(*action, command);
    // Shown only: the shortcut belongs to the command's own line in another menu.
    if (!command.shownKeys.isEmpty())
        action->setText(command.title + u'\t' + command.shownKeys);
}

PaneCommand withSlot(const PaneCommands& commands, PaneSlot::Field field)
{
    auto command = (commands.*field).value_or(PaneCommand());
    const auto& slot = paneSlot(field);
    if (!command.symbol)
        command.symbol = slot.symbol;
    const auto keys = shortcutsIn(commands, slot);
    if (!keys.isEmpty())
        command.shownKeys = keys.front().toString(QKeySequence::NativeText);
    return command;
}

void addToggle(QMenu& menu, const PaneToggle& toggle)
{
    auto* const action = menu.addAction(toggle.title);
    action->setCheckable(true);
    action->setChecked(toggle.isOn);
    action->setEnabled(toggle.isEnabled);
    QObject::connect(action, &QAction::triggered, &menu, toggle.toggle);
}
