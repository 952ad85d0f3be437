#include "keychain/MemoryKeychain.h"

#include "B2Kit/wire/B2Text.h"
#include "foundation/Texts.h"

#include <utility>

void MemoryKeychain::add(KeychainEntry entry, Secret secret)
{
    const std::string keyID = entry.keyID;
    items_.insert_or_assign(keyID, Item{std::move(entry), std::move(secret)});
}

Task<std::vector<KeychainEntry>> MemoryKeychain::entries()
{
    std::vector<KeychainEntry> entries;
    for (const auto& [keyID, item] : items_)
        entries.push_back(item.entry);
    co_return entries;
}

Task<std::optional<Secret>> MemoryKeychain::secret(std::string keyID)
{
    const auto found = items_.find(keyID);
    co_return found == items_.end() ? std::nullopt : std::optional(found->second.secret.copy());
}

Task<> MemoryKeychain::save(
    std::string keyID, Secret secret, std::optional<std::string> label, std::optional<std::string> accountID)
{
    auto& item = items_[keyID];
    item.entry.keyID = std::move(keyID);
    item.secret = std::move(secret);
    if (label)
        item.entry.name = std::move(label);
    if (accountID)
        item.entry.accountID = std::move(accountID);
    co_return;
}

Task<> MemoryKeychain::setLabel(std::string keyID, std::string label)
{
    if (const auto found = items_.find(keyID); found != items_.end())
        found->second.entry.name = std::move(label);
    co_return;
}

Task<> MemoryKeychain::setAccountID(std::string keyID, std::string accountID)
{
    if (const auto found = items_.find(keyID); found != items_.end())
        found->second.entry.accountID = std::move(accountID);
    co_return;
}

Task<> MemoryKeychain::remove(std::string keyID)
{
    items_.erase(keyID);
    co_return;
}

Task<std::optional<std::string>> MemoryKeychain::accountName(std::string accountID)
{
    const auto found = accountNames_.find(accountID);
    co_return found == accountNames_.end() ? std::nullopt : std::optional(found->second);
}

Task<> MemoryKeychain::setAccountName(std::string accountID, std::string name)
{
    if (auto trimmedName = trimmed(name); !trimmedName.empty())
        accountNames_.insert_or_assign(std::move(accountID), std::move(trimmedName));
    co_return;
}
