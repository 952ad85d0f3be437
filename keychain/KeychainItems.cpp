#include "keychain/KeychainItems.h"

#include "foundation/Texts.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>

std::vector<KeychainEntry> entriesOf(const std::vector<KeychainItem>& items)
{
    std::map<std::string, KeychainEntry> byID;
    for (const auto& item : items) {
        auto& entry = byID[item.account];
        entry.keyID = item.account;
        if (!entry.name)
            entry.name = item.label;
        if (!entry.accountID)
            entry.accountID = item.generic;
    }
    std::vector<KeychainEntry> entries;
    for (auto& [keyID, entry] : byID)
        entries.push_back(std::move(entry));
    return entries;
}

B2LogEvent readingEvent(
    const std::vector<KeychainEntry>& entries, std::size_t rawItems, std::string_view store, std::string_view scope)
{
    constexpr std::size_t shownCharacters = 8;
    std::vector<std::string> list;
    for (const auto& entry : entries)
        list.push_back(fmt::format("{}={}@{}", entry.keyID.substr(0, shownCharacters), entry.name.value_or("<none>"),
            entry.accountID.value_or("<no account>")));
    const auto named =
        std::ranges::count_if(entries, [](const KeychainEntry& entry) { return entry.name.has_value(); });
    return {B2LogLevel::debug, "keys",
        fmt::format("Read {} from the Keychain", countText(static_cast<std::int64_t>(entries.size()), "key", "keys")),
        fmt::format(
            "store: {}, scope: {}, {} named, raw items: {}. {}", store, scope, named, rawItems, fmt::join(list, ", "))};
}
