#pragma once

#include "accounts/AddKeyModel.h"
#include "accounts/KeySheetTexts.h"
#include "accounts/views/PassphraseSheet.h"
#include "foundation/TaskScope.h"
#include "shell/RootModel.h"

#include <QObject>
#include <QPointer>

/// Opens the sheets about stored keys and accounts over the main window, one at a time, and does what is answered.
///
/// A request that comes while one is open brings that one to the front instead.
class KeySheets final : public QObject {
    Q_OBJECT

public:
    KeySheets(RootModel& root, AppContext& context, QWidget& window);

    /// The sheet that is open, or null.
    Sheet* sheet() const { return sheet_; }

public Q_SLOTS:
    /// Asks for a key, and connects with it; for the passphrase first where the stored keys are closed.
    void addKey();
    void renameKey(const StoredKey& key);
    void renameAccount(const std::string& accountID);
    /// Asks before the key is forgotten.
    void removeKey(const StoredKey& key);
    /// Asks before the keys are forgotten that the service no longer has; does nothing without any.
    void removeRevokedKeys();
    /// Asks for the passphrase of the file that keeps the keys, and connects.
    void unlockStore();
    /// Asks for a passphrase to close that file with, or for another one when it has one.
    void protectStore();
    void takeOffPassphrase();
    /// Stores a key seen at the service; the session stays.
    void addKnownKey(const KnownKey& key);
    /// Shows a key's details; does nothing for one of which nothing is known.
    void inspectKey(const StoredKey& key);

private:
    static Task<> askAboutRevoked(QPointer<KeySheets> self);

    void openAddKey();
    void changePassphrase(PassphraseSheet::Purpose purpose, PassphraseChange change);
    bool bringToFront();
    void open(Sheet* sheet);
    void follow();
    void showConnected();

    RootModel& root_;
    AppContext& context_;
    QWidget& window_;
    QPointer<Sheet> sheet_;
    int seenRenameTick_;
    TaskScope tasks_;
};
