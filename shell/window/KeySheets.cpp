#include "shell/window/KeySheets.h"

#include "accounts/KeyNames.h"
#include "accounts/KeyRemoval.h"
#include "accounts/keys/views/KeyDetailsView.h"
#include "accounts/views/AddKeyView.h"
#include "accounts/views/RenameSheet.h"
#include "foundation/QtText.h"
#include "foundation/views/sheets/RunSheet.h"
#include "shell/window/ConnectedSheet.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace {

/// Closes the sheet when the work is done. A failure is told in the sheet, which stays; `onFailure` is called then.
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

/// A file that opens after the sheet was closed counts as well.
Task<> unlockAndRead(QPointer<RootModel> root, Secret passphrase)
{
    co_await root->keyStore.keychain().unlockLegacyStore(std::move(passphrase));
    if (root)
        root->reloadKeys();
}

/// Is told above the panes when it is done, whether the sheet is still open or not.
Task<> setPassphrase(QPointer<RootModel> root, Secret current, Secret next, PassphraseChange change)
{
    co_await root->keyStore.keychain().setLegacyPassphrase(std::move(current), std::move(next));
    if (root)
        root->remark = passphraseChangeText(change);
}

} // namespace

KeySheets::KeySheets(RootModel& root, AppContext& context, QWidget& window)
    : QObject(&window)
    , root_(root)
    , context_(context)
    , window_(window)
    , seenRenameTick_(*context.accountRenameTick)
{
    context.addKey = [self = QPointer(this)]() -> Task<> {
        if (self)
            self->addKey();
        co_return;
    };
    connect(&context, &Observable::changed, this, &KeySheets::follow);
    connect(&root, &Observable::changed, this, &KeySheets::showConnected);
}

void KeySheets::follow()
{
    if (std::exchange(seenRenameTick_, *context_.accountRenameTick) == *context_.accountRenameTick)
        return;
    if (const auto session = *root_.keyStore.session)
        renameAccount(session->authorization.accountID);
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
    if (sheet_ || !*root_.isShowingConnected)
        return;
    root_.isShowingConnected = false;
    if (const auto text = root_.connectedText())
        open(new ConnectedSheet(toQString(*text), &window_));
}

void KeySheets::addKey()
{
    if (bringToFront())
        return;
    if (*root_.keyStore.keychain().needsPassphrase) {
        unlockStore();
        sheet_->setMessage(MessageKind::notice, tr("Unlock your keys first, then add another one."));
        // After what the sheet does itself when it closes.
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
    auto* const sheet = new AddKeyView(root_.keyStore, {}, AfterAdding::switchToNewKey, &window_);
    // A check that is ended late may have stored the key already.
    connect(sheet, &QDialog::rejected, &root_, &RootModel::reloadKeys);
    open(sheet);
}

void KeySheets::renameKey(const StoredKey& key)
{
    if (bringToFront())
        return;
    auto* const sheet = new RenameSheet(tr("Rename Key"), toQString(renameKeyText(root_.keyStore.isMaster(key))),
        toQString(key.label == unnamedKeyLabel ? std::string() : key.label), toQString(root_.serviceName(key)),
        &window_);
    sheet->setObjectName(QStringLiteral("renameKey"));
    connect(sheet, &RenameSheet::renamed, this,
        [this, key](const QString& name) { root_.renameKey(key, fromQString(name)); });
    open(sheet);
}

void KeySheets::renameAccount(const std::string& accountID)
{
    if (bringToFront())
        return;
    auto* const sheet = new RenameSheet(tr("Rename Account"), toQString(renameAccountText()),
        toQString(root_.keyStore.accountDisplayName(accountID)), {}, &window_);
    sheet->setObjectName(QStringLiteral("renameAccount"));
    connect(sheet, &RenameSheet::renamed, this,
        [this, accountID](const QString& name) { root_.renameAccount(accountID, fromQString(name)); });
    open(sheet);
}

void KeySheets::removeKey(const StoredKey& key)
{
    if (bringToFront())
        return;
    auto* const sheet = new RunSheet(removeKeyQuestion(key, root_.isCurrent(key)), makeKeyRemoval(root_.keyStore, key),
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
    const auto revoked = self->root_.keyStore.revokedKeys();
    auto& keychain = self->root_.keyStore.keychain();
    bool isAnyShared = false;
    for (const auto& key : revoked) {
        try {
            isAnyShared = co_await keychain.isShared(key.keyID) || isAnyShared;
        } catch (const Keychain::Failure&) {
            // The question can be asked without; the removal meets the same and says so.
        }
    }
    if (!self || revoked.empty() || self->bringToFront())
        co_return;
    auto* const sheet =
        new RunSheet(removeRevokedQuestion(revoked, isAnyShared), makeRevokedKeysRemoval(self->root_.keyStore, revoked),
            {fromQString(tr("Asking Backblaze about each key…")), keyRemovalWords()}, &self->window_);
    sheet->setObjectName(QStringLiteral("removeRevoked"));
    // A removal that was stopped under way may have taken effect.
    connect(sheet, &QDialog::rejected, &self->root_, &RootModel::reloadKeys);
    self->open(sheet);
}

void KeySheets::unlockStore()
{
    if (bringToFront())
        return;
    auto* const sheet =
        new PassphraseSheet(PassphraseSheet::Purpose::unlock, root_.keyStore.keychain().legacyStorePath(), &window_);
    connect(sheet, &Sheet::verbTriggered, this, [this, sheet] {
        auto passphrase = sheet->currentPassphrase();
        sheet->setBusy(true, tr("Opening the file…"));
        tasks_.start(
            runBehind(sheet, unlockAndRead(&root_, std::move(passphrase)), [sheet] { sheet->selectPassphrase(); }));
    });
    open(sheet);
}

void KeySheets::protectStore()
{
    const bool isChange = *root_.keyStore.keychain().hasPassphrase;
    changePassphrase(isChange ? PassphraseSheet::Purpose::change : PassphraseSheet::Purpose::set,
        isChange ? PassphraseChange::changed : PassphraseChange::set);
}

void KeySheets::takeOffPassphrase()
{
    changePassphrase(PassphraseSheet::Purpose::takeOff, PassphraseChange::takenOff);
}

void KeySheets::changePassphrase(PassphraseSheet::Purpose purpose, PassphraseChange change)
{
    if (bringToFront())
        return;
    auto* const sheet = new PassphraseSheet(purpose, root_.keyStore.keychain().legacyStorePath(), &window_);
    connect(sheet, &Sheet::verbTriggered, this, [this, sheet, change] {
        auto current = sheet->currentPassphrase();
        auto next = sheet->newPassphrase();
        sheet->setBusy(true,
            change == PassphraseChange::takenOff ? tr("Taking the passphrase off the file…")
                                                 : tr("Closing the file with the passphrase…"));
        tasks_.start(runBehind(sheet, setPassphrase(&root_, std::move(current), std::move(next), change),
            [sheet] { sheet->selectPassphrase(); }));
    });
    open(sheet);
}

void KeySheets::addKnownKey(const KnownKey& key)
{
    if (bringToFront())
        return;
    open(new AddKeyView(root_.keyStore, key, AfterAdding::keepSession, &window_));
}

void KeySheets::inspectKey(const StoredKey& key)
{
    const auto inspection = root_.inspection(key);
    if (!inspection || bringToFront())
        return;
    const KeyDetailsInputs inputs{.key = inspection->key,
        .buckets = *root_.buckets.buckets,
        .isCurrent = inspection->isCurrent,
        .isStored = true,
        .keyPlace = root_.keyStore.keychain().place(),
        .storedLabel = key.label,
        .isMaster = inspection->isMaster,
        .describedBySignIn = inspection->describedBySignIn,
        .now = std::chrono::system_clock::now()};
    const auto& name = inspection->backblazeName;
    auto* const sheet = new KeyDetailsView(inputs, name && *name != key.label, &window_);
    connect(sheet, &KeyDetailsView::useBackblazeName, this,
        [this, key, name = name.value_or("")] { root_.renameKey(key, name); });
    open(sheet);
}
