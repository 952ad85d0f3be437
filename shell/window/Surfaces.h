#pragma once

#include "foundation/views/style/Icons.h"
#include "shell/AppContext.h"

#include <QKeySequence>
#include <QString>

#include <functional>
#include <span>

class Application;
class KeySheets;
class Pane;

/// The parts that a pane can be built from; all of them outlive the pane.
struct PaneParts {
    Application& application;
    KeySheets& keySheets;
};

/// A pane of the account: its row in the sidebar, its lines in the menus, and how it is made.
struct Surface {
    AccountSurface kind;
    int group; ///< Menus put a rule between groups.
    QString title;
    Symbol symbol;
    QKeySequence shortcut;
    std::function<Pane*(const PaneParts& parts)> make; ///< Called once, when the pane is first needed.
};

/// Every surface there is, in the order of the menus. A further one is one more line of this table and the factory it
/// names.
std::span<const Surface> surfaces();

/// The surface of a kind, or null while there is none.
const Surface* surfaceOf(AccountSurface kind);
