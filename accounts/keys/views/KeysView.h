#pragma once

#include "accounts/KeyStore.h"
#include "accounts/keys/KeysModel.h"
#include "accounts/keys/KeysPane.h"
#include "accounts/keys/views/CreatedKeyView.h"
#include "accounts/keys/views/KeysTableModel.h"
#include "foundation/TaskScope.h"
#include "foundation/views/tables/TablePane.h"

#include <QPointer>

#include <string>
#include <vector>

class NewKeyView;

/// The pane of the account's application keys: table and status line over a `KeysModel`, with the sheets of
/// a new key, of a key just made, of a key's details, and the question before keys are deleted.
///
/// Shows rows of the session the store is on, and of no other.
class KeysView final : public TablePane {
    Q_OBJECT

public:
    KeysView(KeysModel& model, KeyStore& store, Settings& settings, ActivityLog& log, QWidget* parent = nullptr);
    ~KeysView() override;

    /// The buckets that keys can be limited to, and whose names stand for their ids.
    void setBuckets(const std::vector<B2Bucket>& buckets);

    /// How a new key is stored in the program. Without it the sheet of a new key does not offer that.
    void setAddKey(CreatedKeyView::AddKey add) { addKey_ = std::move(add); }

    /// The keys selected, from top to bottom: never the session's own, nor one being deleted.
    std::vector<B2ApplicationKey> selectedKeys() const;

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
    void connectParts();

    void render();
    void renderRows(const KeysPane& pane);
    void renderContent(const KeysPane& pane);
    void renderBanner(const KeysPane& pane);
    void renderSelection();
    void showNoticePage(const KeysPane& pane);
    void deselectUnselectable();
    void loadIfNeeded();

    const KeyRow* targetRow() const;
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
    std::vector<B2Bucket> buckets_;
    CreatedKeyView::AddKey addKey_;
    KeysTableModel rows_;
    std::weak_ptr<B2Session> askedFor_; ///< Whose keys were asked for without the user's doing.
    QPointer<NewKeyView> newSheet_;
    QPointer<CreatedKeyView> createdSheet_;
    TaskScope tasks_;
};
