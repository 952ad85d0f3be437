#pragma once

#include "B2Kit/B2Bucket.h"
#include "accounts/AddKeyModel.h"
#include "accounts/KeySheetTexts.h"
#include "accounts/StoredKeys.h"
#include "accounts/views/PassphraseSheet.h"
#include "foundation/TaskScope.h"

#include <QObject>
#include <QPointer>

#include <functional>

/// Opens the sheets about stored keys and accounts over a window, one at a time, and carries out what was confirmed.
///
/// A request that comes while one is open brings that one to the front instead.
class KeySheets final : public QObject {
    Q_OBJECT

public:
    /// @param keys     outlives this.
    /// @param buckets  returns those of the session, for their names.
    KeySheets(StoredKeys& keys, std::function<std::vector<B2Bucket>()> buckets, QWidget& window);

    /// The sheet that is open, or null.
    Sheet* sheet() const { return sheet_; }

public Q_SLOTS:
    /// Asks for a key, and connects with it; asks for the passphrase first where the stored keys are locked.
    void addKey();
    void renameKey(const StoredKey& key);
    void renameAccount(const std::string& accountID);
    /// Asks before the key is removed from the program.
    void removeKey(const StoredKey& key);
    /// Asks before the keys that the service no longer has are removed; does nothing without any.
    void removeRevokedKeys();
    /// Asks for the passphrase of the file that keeps the keys, and connects.
    void unlockStore();
    /// Asks for a passphrase to protect that file with, or for another one when it has one.
    void protectStore();
    void removePassphrase();
    /// Stores a key seen at the service; the session stays.
    void addKnownKey(const KnownKey& key);
    /// Shows a key's details; does nothing for a key about which nothing is known.
    void inspectKey(const StoredKey& key);

private:
    static Task<> askAboutRevoked(QPointer<KeySheets> self);

    void openAddKey();
    void changePassphrase(PassphraseSheet::Purpose purpose, PassphraseChange change);
    bool bringToFront();
    void open(Sheet* sheet);
    void showConnected();

    StoredKeys& keys_;
    std::function<std::vector<B2Bucket>()> buckets_;
    QWidget& window_;
    QPointer<Sheet> sheet_;
    TaskScope tasks_;
};
