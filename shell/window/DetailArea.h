#pragma once

#include "foundation/Settings.h"
#include "shell/RootModel.h"

#include <QStackedWidget>

class ActivityLog;
class EmptyState;
class KeysView;
class ObjectBrowserView;
class QTimer;

/// The pane of what is selected in the sidebar, or what stands in its way.
class DetailArea final : public QStackedWidget {
    Q_OBJECT

public:
    DetailArea(RootModel& root, Settings& settings, ActivityLog& log, QWidget* parent = nullptr);

    ObjectBrowserView& browser() { return *browser_; }
    KeysView& keys() { return *keys_; }

    /// Gives the keyboard to the rows, or where there are none to the first button that helps.
    void takeFocus();

Q_SIGNALS:
    void addKeyRequested();
    /// The passphrase of the file that keeps the keys is to be asked for.
    void unlockRequested();

private:
    void render();
    void act();
    void showNotice(const DetailState& state);

    RootModel& root_;
    QWidget* blank_;
    EmptyState* notice_;
    ObjectBrowserView* browser_;
    KeysView* keys_;
    QTimer* patience_; ///< A wait shorter than this shows nothing.
    DetailState shown_;
};
