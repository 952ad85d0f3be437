#include "accounts/keys/KeyRows.h"

#include "accounts/KeyNames.h"
#include "accounts/keys/KeyPermissions.h"
#include "foundation/QtText.h"
#include "foundation/Texts.h"

#include <QDateTime>
#include <QLocale>

#include <algorithm>
#include <array>
#include <compare>
#include <limits>
#include <map>

namespace {

using BucketNames = std::map<std::string, std::string>;

BucketNames namesByID(const std::vector<B2Bucket>& buckets)
{
    BucketNames names;
    for (const auto& bucket : buckets)
        names.emplace(bucket.bucketID, bucket.bucketName);
    return names;
}

std::vector<std::string> namesOf(const B2ApplicationKey& key, const BucketNames& names)
{
    std::vector<std::string> reached;
    for (const auto& id : key.bucketIDs) {
        const auto name = names.find(id);
        reached.push_back(name == names.end() ? id : name->second);
    }
    std::ranges::sort(reached, {}, naturalSortKey);
    return reached;
}

std::string prefixMark(const B2ApplicationKey& key)
{
    return key.namePrefix && !key.namePrefix->empty() ? " · " + singleLine(*key.namePrefix) : std::string();
}

std::string relationWord(KeyRelation relation)
{
    switch (relation) {
    case KeyRelation::current:
        return "Signed in";
    case KeyRelation::held:
        return "Stored";
    case KeyRelation::notHeld:
        break;
    }
    return "Not stored";
}

std::string nameMarkOf(const B2ApplicationKey& key, const StoredKey& stored)
{
    if (stored.label == unnamedKeyLabel)
        return "not named in Kestrovan";
    return stored.label == key.keyName ? std::string() : "in Kestrovan as “" + singleLine(stored.label) + "”";
}

std::string dayOf(const B2ApplicationKey& key, std::chrono::system_clock::time_point now)
{
    if (!key.expirationTimestamp)
        return "Never";
    if (*key.expirationTimestamp <= std::chrono::floor<std::chrono::milliseconds>(now.time_since_epoch()).count())
        return "Expired";
    const auto date = QDateTime::fromMSecsSinceEpoch(*key.expirationTimestamp).date();
    return fromQString(QLocale().toString(date, QLocale::ShortFormat));
}

KeyRow makeRow(const B2ApplicationKey& key, const KeyRowsContext& context, const BucketNames& names)
{
    KeyRow row{.key = key};
    const auto stored = std::ranges::find(context.stored, key.applicationKeyID, &StoredKey::keyID);
    if (stored != context.stored.end())
        row.stored = *stored;
    if (key.applicationKeyID == context.currentKeyID)
        row.relation = KeyRelation::current;
    else if (row.stored)
        row.relation = KeyRelation::held;
    if (row.stored)
        row.nameMark = nameMarkOf(key, *row.stored);
    row.relationText = relationWord(row.relation);
    row.name = singleLine(key.keyName);
    row.permissions = presetSummary(key.capabilities);
    const auto reached = namesOf(key, names);
    if (reached.empty()) {
        row.reach = "Every bucket";
    } else {
        row.reach = reached.size() == 1 ? reached.front()
                                        : countText(static_cast<std::int64_t>(reached.size()), "bucket", "buckets");
        for (const auto& name : reached)
            row.reachHelp += (row.reachHelp.empty() ? "" : "\n") + name;
    }
    row.reach += prefixMark(key);
    row.expiresHelp = expiryText(key, context.now);
    row.expires = dayOf(key, context.now);
    row.nameKey = naturalSortKey(key.keyName);
    row.reachKey = naturalSortKey(row.reach);
    return row;
}

std::int64_t expiryOf(const KeyRow& row)
{
    return row.key.expirationTimestamp.value_or(std::numeric_limits<std::int64_t>::max());
}

std::strong_ordering compared(const KeyRow& left, const KeyRow& right, KeyColumn column)
{
    switch (column) {
    case KeyColumn::name:
        return left.nameKey <=> right.nameKey;
    case KeyColumn::relation:
        return left.relation <=> right.relation;
    case KeyColumn::permissions:
        return left.permissions <=> right.permissions;
    case KeyColumn::reach:
        return left.reachKey <=> right.reachKey;
    case KeyColumn::expires:
        return expiryOf(left) <=> expiryOf(right);
    case KeyColumn::keyID:
        break;
    }
    return left.key.applicationKeyID <=> right.key.applicationKeyID;
}

} // namespace

std::span<const std::string> keyColumnNames()
{
    static const std::array<std::string, keyColumnCount> names{
        "name", "relation", "permissions", "reach", "expires", "keyID"};
    return names;
}

std::string_view relationHelp(KeyRelation relation)
{
    switch (relation) {
    case KeyRelation::current:
        return "Kestrovan is signed in with this key";
    case KeyRelation::held:
        return "Kestrovan holds this key's secret, so you can switch to it";
    case KeyRelation::notHeld:
        break;
    }
    return "Kestrovan does not hold this key. Add it with its applicationKey to use it";
}

std::vector<KeyRow> makeKeyRows(
    const std::vector<B2ApplicationKey>& keys, const KeyRowsContext& context, std::span<const SortOrder> order)
{
    const auto names = namesByID(context.buckets);
    std::vector<KeyRow> rows;
    rows.reserve(keys.size());
    for (const auto& key : keys)
        rows.push_back(makeRow(key, context, names));

    std::vector<std::pair<KeyColumn, bool>> columns;
    for (const auto& [name, ascending] : order) {
        const auto known = std::ranges::find(keyColumnNames(), name);
        if (known != keyColumnNames().end())
            columns.emplace_back(static_cast<KeyColumn>(known - keyColumnNames().begin()), ascending);
    }
    columns.emplace_back(KeyColumn::name, true);
    columns.emplace_back(KeyColumn::keyID, true);
    std::ranges::sort(rows, [&](const KeyRow& left, const KeyRow& right) {
        for (const auto& [column, ascending] : columns) {
            const auto place = compared(left, right, column);
            if (place != std::strong_ordering::equal)
                return ascending ? place < 0 : place > 0;
        }
        return false;
    });
    return rows;
}

std::vector<std::string> bucketNames(const B2ApplicationKey& key, const std::vector<B2Bucket>& buckets)
{
    return namesOf(key, namesByID(buckets));
}

std::string expiryText(const B2ApplicationKey& key, std::chrono::system_clock::time_point now)
{
    if (!key.expirationTimestamp)
        return "Never";
    const std::chrono::system_clock::time_point date(std::chrono::milliseconds(*key.expirationTimestamp));
    return (date <= now ? "Expired " : "") + dateText(date);
}

Question deleteKeysQuestion(const std::vector<B2ApplicationKey>& keys)
{
    const bool isOne = keys.size() == 1;
    const std::string count = countText(static_cast<std::int64_t>(keys.size()), "Key", "Keys");
    const std::string name = isOne ? "“" + singleLine(keys.front().keyName) + "”"
                                   : "these " + countText(static_cast<std::int64_t>(keys.size()), "key", "keys");
    Question question;
    question.title = "Delete " + (isOne ? name : count) + "?";
    question.text = "This takes effect immediately. Anything still authenticating with " + name
        + " (scripts, backups, another computer) stops working at once, and " + (isOne ? "it" : "they")
        + " cannot be restored.";
    question.verb = isOne ? "Delete Key" : "Delete " + count;
    return question;
}
