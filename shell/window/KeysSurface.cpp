#include "shell/window/KeysSurface.h"

#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "accounts/keys/views/KeysView.h"
#include "accounts/views/KeySheets.h"
#include "foundation/QtText.h"
#include "shell/Application.h"

namespace {

/// Why a key just made could not be stored, or nothing.
Task<std::optional<std::string>> storeCreated(KeyStore* store, B2CreatedApplicationKey created)
{
    std::exception_ptr failure;
    try {
        co_await store->addWithoutSwitching(
            created.key.keyName, created.key.applicationKeyID, Secret(std::move(created.applicationKey)));
    } catch (...) {
        failure = std::current_exception();
    }
    if (failure && isCancellation(failure))
        std::rethrow_exception(failure);
    co_return failure ? std::optional(addKeyMessage(failure, true)) : std::nullopt;
}

} // namespace

Pane* makeKeysPane(const PaneParts& parts)
{
    auto& root = *parts.application.root;
    auto& sheets = parts.keySheets;
    auto* const pane = new KeysView(root.keys, root.keyStore, *parts.application.settings, *parts.application.log);
    pane->setAddKey(
        [store = &root.keyStore](B2CreatedApplicationKey created) { return storeCreated(store, std::move(created)); });
    // Names of another account's buckets say nothing about this one's keys.
    const auto showBuckets = [pane, &root] {
        pane->setBuckets(
            *root.buckets.session == *root.keyStore.session ? *root.buckets.buckets : std::vector<B2Bucket>());
    };
    QObject::connect(&root, &Observable::changed, pane, showBuckets);
    showBuckets();
    QObject::connect(
        pane, &KeysView::switchRequested, &root, [&root](const QString& keyID) { root.switchTo(fromQString(keyID)); });
    QObject::connect(pane, &KeysView::addRequested, &sheets, [&sheets](const QString& keyID, const QString& name) {
        sheets.addKnownKey({fromQString(keyID), fromQString(name)});
    });
    QObject::connect(pane, &KeysView::renameSheetRequested, &sheets, &KeySheets::renameKey);
    QObject::connect(pane, &KeysView::renameRequested, &root,
        [&root](const StoredKey& key, const QString& name) { root.storedKeys.rename(key, fromQString(name)); });
    return pane;
}
