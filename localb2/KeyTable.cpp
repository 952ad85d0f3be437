#include "localb2/KeyTable.h"

#include "localb2/Database.h"
#include "localb2/Encoding.h"

#include <fmt/format.h>

namespace localb2 {

namespace {

#define KEY_COLUMNS "id, account, secret, name, capabilities, buckets, prefix, expires, master"

std::vector<std::string> split(std::string_view text)
{
    std::vector<std::string> words;
    while (!text.empty()) {
        const auto end = std::min(text.find(','), text.size());
        words.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return words;
}

std::optional<std::string> join(const std::optional<std::vector<std::string>>& words)
{
    if (!words)
        return std::nullopt;
    std::string text;
    for (const auto& word : *words) {
        text += text.empty() ? "" : ",";
        text += word;
    }
    return text;
}

Key keyOf(const Query& row)
{
    Key key{
        .id = std::string(row.text(0)),
        .accountID = std::string(row.text(1)),
        .secret = std::string(row.text(2)),
        .name = std::string(row.text(3)),
        .capabilities = Capabilities::parsed(row.text(4)),
        .prefix = std::string(row.text(6)),
        .expires = row.optionalInteger(7),
        .isMaster = row.integer(8) != 0,
    };
    if (!row.isNull(5))
        key.bucketIDs = split(row.text(5));
    return key;
}

std::string freshSecret()
{
    return "K004" + randomText(27);
}

} // namespace

Account KeyTable::createAccount(std::string_view email)
{
    Account account{.id = randomHex(12), .email = std::string(email)};
    Query(database_, "INSERT INTO accounts (id, email) VALUES (?, ?)", account.id, account.email).run();
    Key master{.id = account.id,
        .accountID = account.id,
        .secret = freshSecret(),
        .name = "master",
        .capabilities = Capabilities::all(),
        .isMaster = true};
    insert(master);
    return account;
}

std::vector<Account> KeyTable::accounts() const
{
    std::vector<Account> accounts;
    Query query(database_, "SELECT id, email FROM accounts ORDER BY rowid");
    while (query.next())
        accounts.push_back({std::string(query.text(0)), std::string(query.text(1))});
    return accounts;
}

std::optional<Key> KeyTable::masterKey(std::string_view accountID) const
{
    return byID(accountID);
}

void KeyTable::insert(Key& key)
{
    if (key.id.empty()) {
        // Counted separately, so that the id of a deleted key is never used again.
        Query serial(database_,
            "INSERT INTO serials (account, value) VALUES (?, 1) ON CONFLICT DO UPDATE SET value = value + 1 "
            "RETURNING value",
            key.accountID);
        serial.next();
        key.id = fmt::format("004{}{:010}", key.accountID, serial.integer(0));
    }
    if (key.secret.empty())
        key.secret = freshSecret();
    Query(database_, "INSERT INTO keys (" KEY_COLUMNS ") VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)", key.id, key.accountID,
        key.secret, key.name, key.capabilities.joined(), join(key.bucketIDs), key.prefix, key.expires, key.isMaster)
        .run();
}

void KeyTable::erase(std::string_view id)
{
    Query(database_, "DELETE FROM keys WHERE id = ?", id).run();
}

std::optional<Key> KeyTable::byID(std::string_view id) const
{
    Query query(database_, "SELECT " KEY_COLUMNS " FROM keys WHERE id = ?", id);
    return query.next() ? std::optional(keyOf(query)) : std::nullopt;
}

std::vector<Key> KeyTable::ofAccount(std::string_view accountID, std::string_view startID) const
{
    std::vector<Key> keys;
    Query query(database_, "SELECT " KEY_COLUMNS " FROM keys WHERE account = ? AND id >= ? AND master = 0 ORDER BY id",
        accountID, startID);
    while (query.next())
        keys.push_back(keyOf(query));
    return keys;
}

} // namespace localb2
