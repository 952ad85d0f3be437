#include "accounts/KeyRemoval.h"

#include "accounts/KeyStore.h"

#include <QPointer>

namespace {

using Reason = std::optional<std::string>;

Task<Reason> removeKey(QPointer<KeyStore> store, StoredKey key)
{
    if (store)
        co_await store->remove(std::move(key));
    co_return std::nullopt;
}

Task<Reason> removeRefusedKey(QPointer<KeyStore> store, StoredKey key)
{
    if (!store)
        co_return std::nullopt;
    co_return co_await store->removeIfRevoked(std::move(key));
}

} // namespace

std::unique_ptr<ItemRun> makeKeyRemoval(KeyStore& store, const StoredKey& key)
{
    const auto work = [weak = QPointer(&store), key] { return removeKey(weak, key); };
    return std::make_unique<ItemRun>(
        std::vector<ItemRun::Item>{{.name = key.label, .work = work, .uponStop = ItemRun::UponStop::letEnd}});
}

std::unique_ptr<ItemRun> makeRevokedKeysRemoval(KeyStore& store, const std::vector<StoredKey>& keys)
{
    std::vector<ItemRun::Item> items;
    for (const auto& key : keys) {
        items.push_back(
            {.name = key.label, .work = [weak = QPointer(&store), key] { return removeRefusedKey(weak, key); }});
    }
    return std::make_unique<ItemRun>(std::move(items));
}

RunWords keyRemovalWords()
{
    return {.singular = "key", .plural = "keys", .participle = "removed"};
}
