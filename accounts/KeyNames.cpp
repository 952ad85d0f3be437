#include "accounts/KeyNames.h"

#include "foundation/NaturalOrder.h"

#include <algorithm>
#include <tuple>

namespace {

std::string lastFour(const std::string& text)
{
    return text.size() <= 4 ? text : text.substr(text.size() - 4);
}

} // namespace

std::string shortKeyID(const std::string& keyID)
{
    return keyID.size() < 13 ? keyID : keyID.substr(0, 6) + "…" + lastFour(keyID);
}

std::optional<std::string> regionOf(const std::optional<std::string>& s3URL)
{
    if (!s3URL)
        return std::nullopt;
    std::string_view host = *s3URL;
    if (const auto scheme = host.find("://"); scheme != std::string_view::npos)
        host.remove_prefix(scheme + 3);
    host = host.substr(0, host.find_first_of("/:"));
    if (!host.starts_with("s3."))
        return std::nullopt;
    host.remove_prefix(3);
    const auto region = host.substr(0, host.find('.'));
    return region.empty() ? std::nullopt : std::optional(std::string(region));
}

std::string defaultAccountName(const std::string& accountID, const std::optional<std::string>& s3URL)
{
    if (const auto region = regionOf(s3URL))
        return *region + " (" + lastFour(accountID) + ")";
    return unnamedAccountName(accountID);
}

std::string unnamedAccountName(const std::string& accountID)
{
    return "Account " + lastFour(accountID);
}

std::string capabilityList(const std::set<B2Capability>& capabilities)
{
    std::string list;
    for (const auto& capability : capabilities)
        list += (list.empty() ? "" : ", ") + capability.rawValue;
    return list;
}

bool isMasterKey(const StoredKey& key)
{
    return key.accountID && !key.accountID->empty() && *key.accountID == key.keyID;
}

std::vector<StoredAccount> groupByAccount(const std::vector<StoredKey>& keys,
    const std::map<std::string, std::string>& accountNames, const std::set<std::string>& revokedKeyIDs)
{
    std::vector<StoredAccount> groups;
    for (const auto& key : keys) {
        if (!key.accountID || key.accountID->empty())
            continue;
        auto group = std::ranges::find(groups, *key.accountID, &StoredAccount::accountID);
        if (group == groups.end()) {
            const auto name = accountNames.find(*key.accountID);
            groups.push_back(
                {*key.accountID, name == accountNames.end() ? unnamedAccountName(*key.accountID) : name->second, {}});
            group = std::prev(groups.end());
        }
        group->keys.push_back(key);
    }
    const auto place = [&](const StoredKey& key) {
        return std::tuple(revokedKeyIDs.contains(key.keyID), !isMasterKey(key), naturalSortKey(key.label));
    };
    for (auto& group : groups)
        std::ranges::sort(group.keys, {}, place);
    std::ranges::sort(groups, {}, [](const StoredAccount& account) { return naturalSortKey(account.name); });
    return groups;
}
