#pragma once

#include "foundation/views/style/Icons.h"

#include <QString>

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// One command of a pane, as menus, toolbar and context menus show it.
struct PaneCommand {
    QString title; ///< The pane's own wording.
    bool isEnabled = true;
    QString help; ///< Tooltip; says why the command is off while it is off.
    std::optional<Symbol> symbol;
    std::function<void()> run;
    QString shownKeys = {}; ///< A shortcut that a line of a menu shows, but that another line owns.
    QString keyText = {};   ///< Of a command of the object menu: the key that runs it together with Ctrl.
};

/// A command that is on or off.
struct PaneToggle {
    QString title;
    bool isOn = false;
    bool isEnabled = true;
    std::function<void(bool isOn)> toggle;
};

/// The commands a pane can perform now. Menus and toolbar render them and know no pane.
///
/// A value: a pane publishes a new one whenever one of its commands changes. A command that is absent stays in the
/// menus under its fixed title, disabled, and is not in the toolbar.
struct PaneCommands {
    using Command = std::optional<PaneCommand>;

    Command newItem;
    Command newFolder;
    Command open;
    Command quickLook;
    Command getInfo;
    Command reveal;
    Command upload;
    Command uploadFolder;
    Command unfinishedUploads;
    Command download;
    std::vector<PaneCommand> shareLinks;
    /// Owns Del. A pane that can hide anything publishes it always, disabled if need be, or Del deletes.
    Command hide;
    Command unhide;
    Command rename;
    Command remove; ///< Delete.
    Command refresh;

    Command copyItems;
    Command copyPaths;
    Command paste;
    Command moveHere;
    Command find;

    std::optional<PaneToggle> allVersions;

    Command back;
    Command forward;
    Command up;
    Command editPath;

    /// Names a top-level menu for the pane's objects; there is none without it.
    std::optional<QString> objectMenuTitle;
    Command newObject;
    Command editObject;
    Command deleteObject;
    Command replicate;
    Command scanBucket;
    Command cleanUp;
    Command scanAll;
    Command checkProgress;
    Command checkAll;
    Command pauseResume;
    Command removeJob;
    Command finishMigration;
    /// At the end of the object menu, in a group of their own; those with a symbol are in the toolbar too.
    std::vector<PaneCommand> moreObjectCommands;
};

/// Makes a command; with a refusal it is disabled, and its help is the refusal.
PaneCommand makeCommand(
    QString title, QString help, const std::optional<std::string>& refusal, std::function<void()> run);
