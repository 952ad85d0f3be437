#include "keychain/SecretServiceKeychain.h"

#include "B2Kit/wire/B2Text.h"
#include "async/Group.h"
#include "foundation/MainExecutor.h"
#include "foundation/Texts.h"
#include "foundation/settings/SettingsKeys.h"
#include "keychain/GLibExecutor.h"
#include "keychain/SecretServiceStore.h"

namespace {

Task<> showWaiting(std::weak_ptr<Keychain*> shown, bool isWaiting)
{
    if (const auto keychain = shown.lock())
        (*keychain)->isWaitingForUnlock = isWaiting;
    co_return;
}

KeychainQuery query(std::string_view service, std::string account)
{
    return {std::string(service), std::move(account), {}};
}

} // namespace

// Each member holds the store in its own frame, because the keychain may go before the call ends.

SecretServiceKeychain::SecretServiceKeychain(Settings& settings, ActivityLog& log, std::chrono::milliseconds limit)
    : settings_(settings)
    , log_(log)
    , self_(std::make_shared<Keychain*>(this))
    , store_(std::make_shared<SecretServiceStore>(
          [shown = std::weak_ptr(self_)](
              bool isWaiting) { spawn(MainExecutor::shared(), showWaiting(shown, isWaiting)); },
          limit))
{
}

SecretServiceKeychain::~SecretServiceKeychain() = default;

bool SecretServiceKeychain::isSharing() const
{
    return settings_.boolean(SettingsKeys::syncKeys).value_or(false);
}

KeychainQuery SecretServiceKeychain::current(std::optional<std::string> keyID) const
{
    return {std::string(keyItemService), std::move(keyID), isSharing() ? std::nullopt : std::optional(false)};
}

Task<> SecretServiceKeychain::open()
{
    const auto store = store_;
    co_await store->probe();
}

Task<std::vector<KeychainEntry>> SecretServiceKeychain::entries()
{
    const auto store = store_;
    const auto items = co_await store->items(current({}));
    auto entries = entriesOf(items);
    log_.record(readingEvent(entries, items.size(), "data protection", isSharing() ? "synced" : "local this Mac"));
    co_return entries;
}

Task<std::optional<Secret>> SecretServiceKeychain::secret(std::string keyID)
{
    const auto store = store_;
    co_return co_await store->secret(current(std::move(keyID)));
}

Task<> SecretServiceKeychain::save(
    std::string keyID, Secret secret, std::optional<std::string> label, std::optional<std::string> accountID)
{
    const auto store = store_;
    KeychainItem item{
        std::string(keyItemService), std::move(keyID), std::move(label), std::move(accountID), isSharing()};
    co_await store->save(std::move(item), std::move(secret));
}

Task<> SecretServiceKeychain::setLabel(std::string keyID, std::string label)
{
    const auto store = store_;
    co_await store->setLabel(query(keyItemService, std::move(keyID)), std::move(label));
}

Task<> SecretServiceKeychain::setAccountID(std::string keyID, std::string accountID)
{
    const auto store = store_;
    co_await store->setGeneric(query(keyItemService, std::move(keyID)), std::move(accountID));
}

Task<> SecretServiceKeychain::remove(std::string keyID)
{
    const auto store = store_;
    co_await store->remove(current(std::move(keyID)));
}

Task<std::optional<std::string>> SecretServiceKeychain::accountName(std::string accountID)
{
    const auto store = store_;
    const auto items = co_await store->items(query(accountItemService, std::move(accountID)));
    co_return items.empty() ? std::nullopt : items.back().label;
}

Task<> SecretServiceKeychain::setAccountName(std::string accountID, std::string name)
{
    const auto store = store_;
    name = trimmed(name);
    if (name.empty() || co_await store->setLabel(query(accountItemService, accountID), name) > 0)
        co_return;
    KeychainItem item{std::string(accountItemService), std::move(accountID), std::move(name), {}, isSharing()};
    co_await store->save(std::move(item), {});
}

Task<bool> SecretServiceKeychain::isShared(std::string keyID)
{
    if (!isSharing())
        co_return false;
    const auto store = store_;
    const auto items = co_await store->items({std::string(keyItemService), std::move(keyID), true});
    co_return !items.empty();
}

void SecretServiceKeychain::stopWaiting()
{
    auto stop = [](std::shared_ptr<SecretServiceStore> store) -> Task<> { co_await store->stopWaiting(); };
    spawn(GLibExecutor::shared(), stop(store_));
}

void SecretServiceKeychain::askAgain()
{
    auto ask = [](std::shared_ptr<SecretServiceStore> store) -> Task<> { co_await store->askAgain(); };
    spawn(GLibExecutor::shared(), ask(store_));
}
