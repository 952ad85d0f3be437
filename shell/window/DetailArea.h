#pragma once

#include "shell/DetailState.h"
#include "shell/window/Surfaces.h"

#include <QStackedWidget>
#include <QTimer>

#include <map>

class ActivityLog;
class EmptyState;
class ObjectBrowserView;
struct PaneCommands;

/// The pane of what is selected in the sidebar, or a notice where there is none.
class DetailArea final : public QStackedWidget {
    Q_OBJECT

public:
    explicit DetailArea(const PaneParts& parts, QWidget* parent = nullptr);

    ObjectBrowserView& browser() { return *browser_; }
    /// The pane of a surface, made on first use.
    Pane& pane(AccountSurface surface);

    /// The pane in front, or null.
    Pane* front() const;
    /// The commands of the pane in front; none where there is no pane.
    const PaneCommands& commands() const;

    /// Gives the keyboard to the rows, or where there are none to the first button that helps.
    void takeFocus();

Q_SIGNALS:
    /// Another pane is in front, or its commands have changed.
    void commandsChanged();
    void addKeyRequested();
    /// The user must be asked for the passphrase of the file of keys.
    void unlockRequested();

private:
    void add(Pane* pane);
    void render();
    void bringToFront(QWidget* page);
    void act();
    void showNotice(const DetailState& state);

    PaneParts parts_;
    QWidget* blank_;
    EmptyState* notice_;
    ObjectBrowserView* browser_;
    std::map<AccountSurface, Pane*> panes_;
    QTimer patience_; ///< A wait shorter than this shows nothing.
    DetailState shown_;
};
