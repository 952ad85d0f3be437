#pragma once

#include "accounts/KeyStore.h"
#include "accounts/keys/KeysModel.h"
#include "accounts/keys/KeysPane.h"
#include "accounts/keys/views/CreatedKeyView.h"
#include "accounts/keys/views/KeysTableModel.h"
#include "foundation/TableSort.h"
#include "foundation/TaskScope.h"
#include "foundation/views/panes/Pane.h"

#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <optional>
#include <string>
#include <vector>

class Banner;
class DenseTableView;
class EmptyState;
class LoadingLine;
class NewKeyView;
class QStackedWidget;
class Settings;
class StatusLine;

/// The pane of the account's application keys: table and status line over a `KeysModel`, with the sheets of
/// a new key, of a key just made, of a key's details, and the question before keys are deleted.
///
/// Shows rows of the session the store is on, and of no other. Keeps columns and order in the settings.
class KeysView final : public Pane {
    Q_OBJECT

public:
    KeysView(KeysModel& model, KeyStore& store, Settings& settings, QWidget* parent = nullptr);
    ~KeysView() override;

    /// The buckets that keys can be limited to, and whose names stand for their ids.
    void setBuckets(const std::vector<B2Bucket>& buckets);

    /// How a new key is stored in the program. Without it the sheet of a new key does not offer that.
    void setAddKey(CreatedKeyView::AddKey add) { addKey_ = std::move(add); }

    /// Selects the key and brings it into sight, now or when it is listed.
    void reveal(const std::string& keyID);

    /// The keys selected, from top to bottom: never the session's own, nor one being deleted.
    std::vector<B2ApplicationKey> selectedKeys() const;

    DenseTableView& table() { return *table_; }

    /// Gives the keyboard to the rows, or where there are none to what helps.
    void takeFocus() override;

Q_SIGNALS:
    /// A key seen at the service is to be stored, with its secret yet to be asked for.
    void addRequested(const QString& keyID, const QString& name);
    void switchRequested(const QString& keyID);
    /// The user wants to give the stored key another name.
    void renameSheetRequested(const StoredKey& key);
    /// The stored key is to take the name it has at the service.
    void renameRequested(const StoredKey& key, const QString& name);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void buildTable();
    void buildLayout();
    void connectParts();

    void render();
    void renderRows(const KeysPane& pane);
    void renderContent(const KeysPane& pane);
    void renderBanner(const KeysPane& pane);
    void renderSelection();
    void showMessage(const KeysPane& pane);
    void deselectUnselectable();
    void loadIfNeeded();

    const KeyRow* targetRow() const;
    void chooseSort(int section, Qt::SortOrder order);
    void updateCommands(const KeysPane& pane, int selected);
    void showMenu(const QPoint& position);
    void refresh();
    void switchToTarget();
    void addTarget();
    void askForNewKey();
    void create(const B2CreateKeyRequest& request);
    void showCreated();
    void askToDelete();
    void showDetails();

    KeysModel& model_;
    KeyStore& store_;
    Settings& settings_;
    std::vector<B2Bucket> buckets_;
    CreatedKeyView::AddKey addKey_;
    KeysTableModel rows_;
    std::vector<SortOrder> order_;
    LoadingLine* loading_;
    Banner* banner_;
    QStackedWidget* pages_;
    DenseTableView* table_;
    QWidget* blank_;
    EmptyState* message_;
    StatusLine* status_;
    QTimer patience_; ///< A first listing shorter than this shows no sentence.
    std::optional<std::string> dismissedError_;
    std::weak_ptr<B2Session> askedFor_;   ///< Whose keys were asked for without the user's doing.
    std::optional<std::string> revealed_; ///< To be selected when it is listed.
    QPointer<NewKeyView> newSheet_;
    QPointer<CreatedKeyView> createdSheet_;
    TaskScope tasks_;
};
