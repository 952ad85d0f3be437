#include "shell/window/AccountMenu.h"

#include "accounts/views/KeySheets.h"
#include "foundation/QtText.h"
#include "foundation/Texts.h"
#include "shell/Application.h"
#include "shell/window/Surfaces.h"

#include <QAction>
#include <QActionGroup>

#include <algorithm>

namespace {

/// A name as a line of a menu: not too long, and its "&" is no mnemonic.
QString menuText(const std::string& name)
{
    constexpr int maxLetters = 60;
    QString text = toQString(singleLine(name));
    if (text.size() > maxLetters)
        text = text.left(maxLetters / 2) + u'…' + text.right(maxLetters / 2);
    return text.replace(u'&', QStringLiteral("&&"));
}

} // namespace

AccountMenu::AccountMenu(Application& application, KeySheets& keySheets, QList<QAction*> surfaces, QWidget* parent)
    : QMenu(tr("&Account"), parent)
    , application_(application)
    , keySheets_(keySheets)
    , surfaces_(std::move(surfaces))
{
    setToolTipsVisible(true);
    connect(this, &QMenu::aboutToShow, this, &AccountMenu::fill);
    fill();
}

void AccountMenu::fill()
{
    // Clearing keeps the surfaces' actions: the window owns them, and their shortcuts must go on working.
    clear();
    for (auto* const old : findChildren<QMenu*>(Qt::FindDirectChildrenOnly))
        old->deleteLater();
    addKeys();
    addSeparator();
    addActions(surfaces_);
    addSeparator();
    addKeyCommands();
    addStoreCommands();
}

void AccountMenu::addKeys()
{
    auto* const keys = addMenu(symbolIcon(Symbol::key), tr("Key in Use"));
    keys->setToolTipsVisible(true);
    fillKeyMenu(*keys, application_, keySheets_);
    if (*application_.root->keyStore.keychain().needsPassphrase)
        addAction(symbolIcon(Symbol::lock), tr("Unlock…"), &keySheets_, &KeySheets::unlockStore);
    addAction(symbolIcon(Symbol::add), tr("Add Key…"), &keySheets_, &KeySheets::addKey);
}

void AccountMenu::add(const QString& text, bool isOffered, const QString& reason, std::function<void()> run)
{
    auto* const action = addAction(text, &keySheets_, std::move(run));
    action->setEnabled(isOffered);
    if (!isOffered)
        action->setToolTip(reason);
}

void AccountMenu::addKeyCommands()
{
    auto& root = *application_.root;
    const auto key = root.storedKeys.keyInUse();
    const QString noKey = tr("No key is in use");
    const auto about = [&](void (KeySheets::*slot)(const StoredKey&)) {
        return [this, slot, chosen = key.value_or(StoredKey())] { (keySheets_.*slot)(chosen); };
    };
    add(tr("Rename Account…"), *root.keyStore.session != nullptr, tr("Kestrovan is not connected with a key"),
        [this] { application_.context->accountRenameTick = *application_.context->accountRenameTick + 1; });
    addSeparator();
    add(tr("Key Details…"), key && root.storedKeys.inspection(*key),
        key ? tr("Backblaze did not say what this key can do") : noKey, about(&KeySheets::inspectKey));
    add(tr("Rename Key…"), key.has_value(), noKey, about(&KeySheets::renameKey));
    add(tr("Remove from Kestrovan…"), key.has_value(), noKey, about(&KeySheets::removeKey));
    if (const int count = static_cast<int>(root.keyStore.revokedKeys().size()); count > 0)
        addAction(count == 1 ? tr("Remove 1 Key Backblaze No Longer Has…")
                             : tr("Remove %1 Keys Backblaze No Longer Has…").arg(count),
            &keySheets_, &KeySheets::removeRevokedKeys);
}

void AccountMenu::addStoreCommands()
{
    auto& root = *application_.root;
    const auto& keychain = root.keyStore.keychain();
    if (*keychain.useLegacyStore && !*keychain.needsPassphrase) {
        addAction(symbolIcon(Symbol::lock),
            *keychain.hasPassphrase ? tr("Change the Passphrase of Keys…") : tr("Protect Keys with a Passphrase…"),
            &keySheets_, &KeySheets::protectStore);
        if (*keychain.hasPassphrase)
            addAction(tr("Remove the Passphrase of Keys…"), &keySheets_, &KeySheets::removePassphrase);
    }
    addSeparator();
    auto* const read =
        addAction(symbolIcon(Symbol::refresh), tr("Read Bucket List Again"), &root, &RootModel::reloadBuckets);
    read->setEnabled(*root.keyStore.session != nullptr);
}

void fillKeyMenu(QMenu& menu, Application& application, KeySheets& keySheets)
{
    auto& root = *application.root;
    const auto& entries = *application.context->keyMenu;
    auto* const group = new QActionGroup(&menu);
    // Two accounts may have the same name.
    const auto accountOf = [&root](const std::string& keyID) {
        const auto key = std::ranges::find(*root.keyStore.keys, keyID, &StoredKey::keyID);
        return key == root.keyStore.keys->end() ? std::string() : key->accountID.value_or("");
    };
    std::optional<std::string> account;
    for (const auto& entry : entries) {
        if (account != accountOf(entry.id)) {
            account = accountOf(entry.id);
            menu.addSection(menuText(entry.account));
        }
        auto* const action = menu.addAction(menuText(entry.title));
        action->setCheckable(true);
        action->setChecked(*application.context->currentKeyID == entry.id);
        action->setEnabled(!entry.isDisabled);
        if (entry.isDisabled)
            action->setToolTip(
                QObject::tr("Backblaze no longer has this key, or its secret is not stored on this computer"));
        group->addAction(action);
        QObject::connect(action, &QAction::triggered, &root, [&root, id = entry.id] { root.switchTo(id); });
    }
    if (entries.empty()) {
        QString text = QObject::tr("No key stored");
        if (const auto unread = root.keySwitcher.content().unread)
            text = unread->canUnlock ? QObject::tr("Your keys are locked with a passphrase")
                                     : QObject::tr("Your keys have not been read");
        menu.addAction(text)->setEnabled(false);
    }
    menu.addSeparator();
    menu.addAction(symbolIcon(Symbol::add), QObject::tr("Add Key…"), &keySheets, &KeySheets::addKey);
}

QList<QAction*> surfaceActions(Application& application, QObject* parent)
{
    QList<QAction*> actions;
    std::optional<int> group;
    for (const auto& surface : surfaces()) {
        if (group && *group != surface.group) {
            auto* const separator = new QAction(parent);
            separator->setSeparator(true);
            actions.append(separator);
        }
        group = surface.group;
        auto* const action = new QAction(symbolIcon(surface.symbol), surface.title, parent);
        action->setShortcut(surface.shortcut);
        QObject::connect(action, &QAction::triggered, parent,
            [&application, kind = surface.kind] { application.context->request(kind); });
        const auto allow = [action, root = application.root.get()] {
            action->setEnabled(*root->keyStore.session != nullptr);
        };
        QObject::connect(application.root.get(), &Observable::changed, action, allow);
        allow();
        actions.append(action);
    }
    return actions;
}
