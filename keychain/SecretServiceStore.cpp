#include "keychain/SecretServiceStore.h"

#include "keychain/GLibExecutor.h"

#include <algorithm>

namespace {

const SecretSchema schema{"com.zantro.kestrovan.Item", SECRET_SCHEMA_NONE,
    {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING}, {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
        {"generic", SECRET_SCHEMA_ATTRIBUTE_STRING}, {"synchronized", SECRET_SCHEMA_ATTRIBUTE_STRING},
        {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
    0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};

void put(GHashTable* table, const char* name, const std::string& value)
{
    g_hash_table_insert(table, g_strdup(name), g_strdup(value.c_str()));
}

GHashTablePtr attributesOf(const KeychainQuery& query)
{
    GHashTablePtr table(g_hash_table_new_full(g_str_hash, g_str_equal, g_free, g_free));
    put(table.get(), "service", query.service);
    if (query.account)
        put(table.get(), "account", *query.account);
    if (query.isSynchronized)
        put(table.get(), "synchronized", *query.isSynchronized ? "true" : "false");
    return table;
}

GHashTablePtr attributesOf(const KeychainItem& item)
{
    auto table = attributesOf(KeychainQuery{item.service, item.account, item.isSynchronized});
    if (item.generic)
        put(table.get(), "generic", *item.generic);
    return table;
}

/// The name that keyring programs show for an item the user has not named.
std::string placeholder(const KeychainItem& item)
{
    return "Kestrovan: " + item.account;
}

KeychainItem itemOf(SecretItem* stored)
{
    const GHashTablePtr attributes(secret_item_get_attributes(stored));
    const auto attribute = [&](const char* name) -> std::optional<std::string> {
        const auto* const value = static_cast<const char*>(g_hash_table_lookup(attributes.get(), name));
        return value ? std::optional<std::string>(value) : std::nullopt;
    };
    KeychainItem item;
    item.service = attribute("service").value_or("");
    item.account = attribute("account").value_or("");
    item.generic = attribute("generic");
    item.isSynchronized = attribute("synchronized") == "true";
    const GTextPtr label(secret_item_get_label(stored));
    if (label && *label && label.get() != placeholder(item))
        item.label = label.get();
    return item;
}

/// Awaits a change of an item. An item that has disappeared since it was found is not a failure.
///
/// @returns whether the item was there.
Task<bool> unlessGone(Task<bool> change)
{
    try {
        co_await std::move(change);
    } catch (const Keychain::Failure& failure) {
        if (failure.status != Keychain::Status::itemNotFound)
            throw;
        co_return false;
    }
    co_return true;
}

} // namespace

SecretServiceStore::SecretServiceStore(std::function<void(bool)> onWaiting, std::chrono::milliseconds limit)
    : Actor(GLibExecutor::shared())
    , link_(std::move(onWaiting))
    , limit_(limit)
{
}

Task<> SecretServiceStore::probe()
{
    TimeLimit limit{limit_};
    co_await link_.open(limit);
}

Task<std::vector<KeychainItem>> SecretServiceStore::items(KeychainQuery query)
{
    TimeLimit limit{limit_};
    std::vector<KeychainItem> all;
    for (const auto& item : co_await find(std::move(query), Asking::onceOnly, limit))
        all.push_back(itemOf(item.get()));
    co_return all;
}

Task<std::optional<Secret>> SecretServiceStore::secret(KeychainQuery query)
{
    TimeLimit limit{limit_};
    const auto found = co_await find(std::move(query), Asking::allowed, limit);
    if (found.empty())
        co_return std::nullopt;
    co_return co_await load(found.back().get(), limit);
}

Task<> SecretServiceStore::save(KeychainItem item, Secret secret)
{
    TimeLimit limit{limit_};
    const KeychainQuery query{item.service, item.account, {}};
    for (const auto& old : co_await find(query, Asking::allowed, limit)) {
        auto known = itemOf(old.get());
        item.label = item.label ? std::move(item.label) : std::move(known.label);
        item.generic = item.generic ? std::move(item.generic) : std::move(known.generic);
    }
    const auto service = co_await link_.open(limit);
    const bool isStored = co_await link_.call(
        limit,
        [&](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
            const auto text = secret.reveal();
            const auto attributes = attributesOf(item);
            auto* const value = secret_value_new(text.data(), static_cast<gssize>(text.size()), "text/plain");
            secret_service_store(service.get(), &schema, attributes.get(), SECRET_COLLECTION_DEFAULT,
                item.label.value_or(placeholder(item)).c_str(), value, cancellable, callback, data);
            secret_value_unref(value);
        },
        [](GObject* source, GAsyncResult* result, GError** error) {
            return secret_service_store_finish(SECRET_SERVICE(source), result, error) == TRUE;
        });
    if (!isStored)
        throw link_.refusal();
    link_.askAgain();

    // The earlier items are replaced only if the new one can be read back.
    const auto found = co_await find(query, Asking::allowed, limit);
    const SecretItem* kept = nullptr;
    for (const auto& candidate : found) {
        if (itemOf(candidate.get()) == item && co_await load(candidate.get(), limit) == secret)
            kept = candidate.get();
    }
    if (!kept)
        throw Keychain::Failure(Keychain::Status::refused,
            "The desktop's keyring accepted the key but does not return it. Keys stored earlier are kept.");
    for (const auto& old : found) {
        if (old.get() != kept)
            co_await removeItem(old.get(), limit);
    }
}

Task<int> SecretServiceStore::setLabel(KeychainQuery query, std::string label)
{
    TimeLimit limit{limit_};
    int changed = 0;
    for (const auto& item : co_await find(std::move(query), Asking::allowed, limit)) {
        const bool isThere = co_await unlessGone(link_.call(
            limit,
            [&](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
                secret_item_set_label(item.get(), label.c_str(), cancellable, callback, data);
            },
            [](GObject* source, GAsyncResult* result, GError** error) {
                return secret_item_set_label_finish(SECRET_ITEM(source), result, error) == TRUE;
            }));
        changed += isThere ? 1 : 0;
    }
    co_return changed;
}

Task<int> SecretServiceStore::setGeneric(KeychainQuery query, std::string generic)
{
    TimeLimit limit{limit_};
    int count = 0;
    for (const auto& item : co_await find(std::move(query), Asking::allowed, limit)) {
        auto changed = itemOf(item.get());
        changed.generic = generic;
        const bool isThere = co_await unlessGone(link_.call(
            limit,
            [&](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
                const auto attributes = attributesOf(changed);
                secret_item_set_attributes(item.get(), &schema, attributes.get(), cancellable, callback, data);
            },
            [](GObject* source, GAsyncResult* result, GError** error) {
                return secret_item_set_attributes_finish(SECRET_ITEM(source), result, error) == TRUE;
            }));
        count += isThere ? 1 : 0;
    }
    co_return count;
}

Task<> SecretServiceStore::remove(KeychainQuery query)
{
    TimeLimit limit{limit_};
    for (const auto& item : co_await find(std::move(query), Asking::allowed, limit))
        co_await removeItem(item.get(), limit);
}

Task<> SecretServiceStore::stopWaiting()
{
    link_.stopWaiting();
    co_return;
}

Task<> SecretServiceStore::askAgain()
{
    link_.askAgain();
    co_return;
}

Task<SecretServiceStore::Items> SecretServiceStore::search(KeychainQuery query, TimeLimit& limit)
{
    const auto service = co_await link_.open(limit);
    co_return co_await link_.call(
        limit,
        [&](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
            const auto attributes = attributesOf(query);
            secret_service_search(
                service.get(), &schema, attributes.get(), SECRET_SEARCH_ALL, cancellable, callback, data);
        },
        [](GObject* source, GAsyncResult* result, GError** error) {
            GList* const list = secret_service_search_finish(SECRET_SERVICE(source), result, error);
            Items items;
            for (GList* link = list; link; link = link->next)
                items.emplace_back(SECRET_ITEM(link->data));
            g_list_free(list);
            return items;
        });
}

Task<SecretServiceStore::Items> SecretServiceStore::find(KeychainQuery query, Asking asking, TimeLimit& limit)
{
    const auto isLocked = [](const GObjectPtr<SecretItem>& item) { return secret_item_get_locked(item.get()) == TRUE; };
    // A locked collection may hide its items.
    co_await unlockDefault(asking, limit);
    auto found = co_await search(query, limit);
    while (std::ranges::any_of(found, isLocked)) {
        std::vector<GDBusProxy*> objects;
        for (const auto& item : found)
            objects.push_back(G_DBUS_PROXY(item.get()));
        co_await link_.unlock(std::move(objects), asking, limit);
        found = co_await search(query, limit);
    }
    std::ranges::sort(
        found, {}, [](const GObjectPtr<SecretItem>& item) { return secret_item_get_modified(item.get()); });
    co_return found;
}

Task<> SecretServiceStore::unlockDefault(Asking asking, TimeLimit& limit)
{
    const auto service = co_await link_.open(limit);
    for (;;) {
        const auto collection = co_await link_.call(
            limit,
            [&](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
                secret_collection_for_alias(
                    service.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, cancellable, callback, data);
            },
            [](GObject*, GAsyncResult* result, GError** error) {
                return GObjectPtr<SecretCollection>(secret_collection_for_alias_finish(result, error));
            });
        // A user without a keyring gets one with the first key.
        if (!collection || secret_collection_get_locked(collection.get()) == FALSE)
            co_return;
        co_await link_.unlock({G_DBUS_PROXY(collection.get())}, asking, limit);
    }
}

Task<std::optional<Secret>> SecretServiceStore::load(SecretItem* item, TimeLimit& limit)
{
    co_await link_.call(
        limit,
        [item](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
            secret_item_load_secret(item, cancellable, callback, data);
        },
        [](GObject* source, GAsyncResult* result, GError** error) {
            return secret_item_load_secret_finish(SECRET_ITEM(source), result, error) == TRUE;
        });
    auto* const value = secret_item_get_secret(item);
    if (!value)
        co_return std::nullopt;
    gsize size = 0;
    const char* const text = secret_value_get(value, &size);
    Secret secret(std::string_view(text, size));
    secret_value_unref(value);
    co_return secret;
}

Task<> SecretServiceStore::removeItem(SecretItem* item, TimeLimit& limit)
{
    co_await unlessGone(link_.call(
        limit,
        [item](GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
            secret_item_delete(item, cancellable, callback, data);
        },
        [](GObject* source, GAsyncResult* result, GError** error) {
            return secret_item_delete_finish(SECRET_ITEM(source), result, error) == TRUE;
        }));
}
