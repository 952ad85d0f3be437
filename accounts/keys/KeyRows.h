#pragma once

#include "B2Kit/B2Bucket.h"
#include "B2Kit/B2Key.h"
#include "accounts/StoredKey.h"
#include "foundation/NaturalOrder.h"
#include "foundation/TableSort.h"
#include "foundation/runs/Question.h"

#include <chrono>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// The columns of the table of keys.
enum class KeyColumn { name, relation, permissions, reach, expires, keyID };

inline constexpr int keyColumnCount = 6;

/// The stored names of the columns, in their order.
std::span<const std::string> keyColumnNames();

/// How this program knows a key at the service.
enum class KeyRelation {
    current, ///< The session's own: neither selected nor deleted.
    held,    ///< Its secret is stored.
    notHeld,
};

std::string_view relationHelp(KeyRelation relation);

inline constexpr std::string_view currentKeyRefusal =
    "Kestrovan is signed in with this key, so it cannot be selected or deleted";
inline constexpr std::string_view storedNameHelp =
    "Kestrovan's own name for this key. Backblaze keeps the one it was created with";

/// A key as a row of the table, its texts ready to show.
struct KeyRow {
    B2ApplicationKey key;
    KeyRelation relation = KeyRelation::notHeld;
    std::optional<StoredKey> stored;
    std::string name;
    /// "in Kestrovan as “…”" or "not named in Kestrovan"; empty when both names agree.
    std::string nameMark;
    std::string relationText;
    std::string permissions;
    std::string reach;
    std::string reachHelp; ///< Every bucket by name, one per line.
    std::string expires;   ///< A day, "Never" or "Expired".
    std::string expiresHelp;
    NaturalSortKey nameKey;
    NaturalSortKey reachKey;

    bool isSelectable() const { return relation != KeyRelation::current; }
    bool canSwitch() const { return relation == KeyRelation::held; }
    bool canAdd() const { return relation == KeyRelation::notHeld; }
    /// Does the store have another name for the key than the service?
    bool canTakeName() const { return stored && !nameMark.empty(); }
};

/// The facts that rows are made from.
struct KeyRowsContext {
    std::vector<StoredKey> stored;
    std::string currentKeyID; ///< Empty without a session.
    std::vector<B2Bucket> buckets;
    std::chrono::system_clock::time_point now;
};

/// Returns the rows in the requested order; equal ones by name, then by id.
std::vector<KeyRow> makeKeyRows(
    const std::vector<B2ApplicationKey>& keys, const KeyRowsContext& context, std::span<const SortOrder> order);

/// The names of the buckets a key is limited to; the id where the name is not known.
std::vector<std::string> bucketNames(const B2ApplicationKey& key, const std::vector<B2Bucket>& buckets);

/// "Never", a date, or "Expired" with the date.
std::string expiryText(const B2ApplicationKey& key, std::chrono::system_clock::time_point now);

/// The question before keys are deleted at the service.
Question deleteKeysQuestion(const std::vector<B2ApplicationKey>& keys);
