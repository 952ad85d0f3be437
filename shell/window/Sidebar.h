#pragma once

#include "shell/RootModel.h"
#include "shell/window/BucketListModel.h"

#include <QSortFilterProxyModel>
#include <QStandardItemModel>
#include <QWidget>

#include <memory>

class KeySwitcherHeader;
class QLabel;
class QListView;
class QMenu;
class SearchField;

/// The sidebar of the main window: the key in use at the top, then the panes of the account, then its buckets.
class Sidebar final : public QWidget {
    Q_OBJECT

public:
    Sidebar(RootModel& root, AppContext& context, QWidget* parent = nullptr);

    /// Gives the keyboard to the list that holds the selection.
    void takeFocus();
    QListView& surfaceList() { return *surfaces_; }
    QListView& bucketList() { return *list_; }
    KeySwitcherHeader& switcher() { return *switcher_; }

Q_SIGNALS:
    // Requests of the key switcher.
    void addKeyRequested();
    void unlockRequested();
    void keyDetailsRequested(const StoredKey& key);
    void renameKeyRequested(const StoredKey& key);
    void removeKeyRequested(const StoredKey& key);
    void removeRevokedKeysRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void render();
    void buildSurfaces();
    void renderSurfaces();
    void chooseSurface(const QModelIndex& index);
    void choose(const QModelIndex& index);
    bool crossLists(QObject* from, int key);
    KeySwitcherActions switcherActions();

    RootModel& root_;
    AppContext& context_;
    KeySwitcherHeader* switcher_;
    QLabel* surfacesTitle_;
    QListView* surfaces_;
    QLabel* title_;
    SearchField* filter_;
    QListView* list_;
    QLabel* note_;
    QStandardItemModel surfaceRows_;
    BucketListModel rows_;
    QSortFilterProxyModel shown_;
    std::weak_ptr<B2Session> filtered_; ///< The session whose buckets the filter was typed for.
    bool isRendering_ = false;
};
