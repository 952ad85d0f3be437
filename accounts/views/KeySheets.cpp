#include "accounts/views/KeySheets.h"

#include "accounts/KeyNames.h"
#include "accounts/KeyRemoval.h"
#include "accounts/keys/views/KeyDetailsView.h"
#include "accounts/views/AddKeyView.h"
#include "accounts/views/ConnectedSheet.h"
#include "accounts/views/RenameSheet.h"
#include "foundation/QtText.h"
#include "foundation/views/sheets/RunSheet.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace {

/// Closes the sheet when the work is done. After a failure the sheet stays and shows it, and `onFailure` is called.
Task<> runBehind(QPointer<Sheet> sheet, Task<> work, std::function<void()> onFailure = nullptr)
{
    std::optional<std::string> failure;
    try {
        co_await std::move(work);
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception& error) {
        failure = error.what();
    }
    if (!sheet)
        co_return;
    sheet->setBusy(false);
    if (!failure) {
        sheet->accept();
        co_return;
    }
    sheet->setMessage(MessageKind::danger, toQString(*failure));
    if (onFailure)
        onFailure();
}

} // namespace

KeySheets::KeySheets(StoredKeys& keys, std::function<std::vector<B2Bucket>()> buckets, QWidget& window)
    : QObject(&window)
    , keys_(keys)
    , buckets_(std::move(buckets))
    , window_(window)
{
    connect(&keys_, &Observable::changed, this, &KeySheets::showConnected);
}

bool KeySheets::bringToFront()
{
    if (!sheet_)
        return false;
    sheet_->raise();
    sheet_->activateWindow();
    return true;
}

void KeySheets::open(Sheet* sheet)
{
    sheet_ = sheet;
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    connect(sheet, &QDialog::finished, this, [this] {
        sheet_.clear();
        showConnected();
    });
    sheet->open();
}

void KeySheets::showConnected()
{
    if (sheet_ || !*keys_.isShowingConnected)
        return;
    keys_.dismissConnected();
    if (const auto text = keys_.connectedText())
        open(new ConnectedSheet(toQString(*text), &window_));
}

void KeySheets::addKey()
{
    if (bringToFront())
        return;
    if (*keys_.keychain().needsPassphrase) {
        unlockStore();
        sheet_->setMessage(MessageKind::notice, tr("Unlock your keys first, then add another one."));
        // Runs after the sheet's own work when it closes.
        connect(sheet_, &QDialog::finished, this, [this](int outcome) {
            if (outcome == QDialog::Accepted && !bringToFront())
                openAddKey();
        });
        return;
    }
    openAddKey();
}

void KeySheets::openAddKey()
{
    auto* const sheet = new AddKeyView(keys_.store(), {}, AfterAdding::switchToNewKey, &window_);
    // A check that was ended too late may have stored the key.
    connect(sheet, &QDialog::rejected, &keys_, &StoredKeys::reload);
    open(sheet);
}

void KeySheets::renameKey(const StoredKey& key)
{
    if (bringToFront())
        return;
    auto* const sheet = new RenameSheet(tr("Rename Key"), toQString(renameKeyText(keys_.store().isMaster(key))),
        toQString(key.label == unnamedKeyLabel ? std::string() : key.label), toQString(keys_.serviceName(key)),
        &window_);
    sheet->setObjectName(QStringLiteral("renameKey"));
    connect(
        sheet, &RenameSheet::renamed, this, [this, key](const QString& name) { keys_.rename(key, fromQString(name)); });
    open(sheet);
}

void KeySheets::renameAccount(const std::string& accountID)
{
    if (bringToFront())
        return;
    auto* const sheet = new RenameSheet(tr("Rename Account"), toQString(renameAccountText()),
        toQString(keys_.store().accountDisplayName(accountID)), {}, &window_);
    sheet->setObjectName(QStringLiteral("renameAccount"));
    connect(sheet, &RenameSheet::renamed, this,
        [this, accountID](const QString& name) { keys_.renameAccount(accountID, fromQString(name)); });
    open(sheet);
}

void KeySheets::removeKey(const StoredKey& key)
{
    if (bringToFront())
        return;
    auto* const sheet = new RunSheet(removeKeyQuestion(key, keys_.isCurrent(key)), makeKeyRemoval(keys_.store(), key),
        {fromQString(tr("Removing the key…")), keyRemovalWords()}, &window_);
    sheet->setObjectName(QStringLiteral("removeKey"));
    open(sheet);
}

void KeySheets::removeRevokedKeys()
{
    if (!bringToFront())
        tasks_.start(askAboutRevoked(this));
}

Task<> KeySheets::askAboutRevoked(QPointer<KeySheets> self)
{
    if (!self)
        co_return;
    const auto revoked = self->keys_.store().revokedKeys();
    auto& keychain = self->keys_.keychain();
    bool isAnyShared = false;
    for (const auto& key : revoked) {
        try {
            isAnyShared = co_await keychain.isShared(key.keyID) || isAnyShared;
        } catch (const Keychain::Failure&) {
            // The question does not need it; the removal fails in the same way and says so.
        }
    }
    if (!self || revoked.empty() || self->bringToFront())
        co_return;
    auto* const sheet =
        new RunSheet(removeRevokedQuestion(revoked, isAnyShared), makeRevokedKeysRemoval(self->keys_.store(), revoked),
            {fromQString(tr("Asking Backblaze about each key…")), keyRemovalWords()}, &self->window_);
    sheet->setObjectName(QStringLiteral("removeRevoked"));
    // A removal that was stopped under way may have taken effect.
    connect(sheet, &QDialog::rejected, &self->keys_, &StoredKeys::reload);
    self->open(sheet);
}

void KeySheets::unlockStore()
{
    if (bringToFront())
        return;
    auto* const sheet =
        new PassphraseSheet(PassphraseSheet::Purpose::unlock, keys_.keychain().legacyStorePath(), &window_);
    connect(sheet, &Sheet::verbTriggered, this, [this, sheet] {
        auto passphrase = sheet->currentPassphrase();
        sheet->setBusy(true, tr("Opening the file…"));
        tasks_.start(runBehind(sheet, keys_.unlock(std::move(passphrase)), [sheet] { sheet->selectPassphrase(); }));
    });
    open(sheet);
}

void KeySheets::protectStore()
{
    const bool isChange = *keys_.keychain().hasPassphrase;
    changePassphrase(isChange ? PassphraseSheet::Purpose::change : PassphraseSheet::Purpose::set,
        isChange ? PassphraseChange::changed : PassphraseChange::set);
}

void KeySheets::removePassphrase()
{
    changePassphrase(PassphraseSheet::Purpose::remove, PassphraseChange::removed);
}

void KeySheets::changePassphrase(PassphraseSheet::Purpose purpose, PassphraseChange change)
{
    if (bringToFront())
        return;
    auto* const sheet = new PassphraseSheet(purpose, keys_.keychain().legacyStorePath(), &window_);
    connect(sheet, &Sheet::verbTriggered, this, [this, sheet, change] {
        auto current = sheet->currentPassphrase();
        auto next = sheet->newPassphrase();
        sheet->setBusy(true,
            change == PassphraseChange::removed ? tr("Removing the passphrase…")
                                                : tr("Locking the file with the passphrase…"));
        tasks_.start(runBehind(sheet, keys_.setPassphrase(std::move(current), std::move(next), change),
            [sheet] { sheet->selectPassphrase(); }));
    });
    open(sheet);
}

void KeySheets::addKnownKey(const KnownKey& key)
{
    if (bringToFront())
        return;
    open(new AddKeyView(keys_.store(), key, AfterAdding::keepSession, &window_));
}

void KeySheets::inspectKey(const StoredKey& key)
{
    const auto inspection = keys_.inspection(key);
    if (!inspection || bringToFront())
        return;
    const KeyDetailsInputs inputs{.key = inspection->key,
        .buckets = buckets_(),
        .isCurrent = inspection->isCurrent,
        .isStored = true,
        .keyPlace = keys_.keychain().place(),
        .storedLabel = key.label,
        .isMaster = inspection->isMaster,
        .describedBySignIn = inspection->describedBySignIn,
        .now = std::chrono::system_clock::now()};
    const auto& name = inspection->backblazeName;
    auto* const sheet = new KeyDetailsView(inputs, name && *name != key.label, &window_);
    connect(sheet, &KeyDetailsView::useBackblazeName, this,
        [this, key, name = name.value_or("")] { keys_.rename(key, name); });
    open(sheet);
}
