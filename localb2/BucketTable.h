#pragma once

#include "localb2/Records.h"

#include <optional>
#include <string_view>
#include <vector>

namespace localb2 {

class Database;

/// The buckets of every account.
class BucketTable {
public:
    explicit BucketTable(Database& database)
        : database_(database)
    {
    }

    /// Inserts the bucket's row.
    void insert(Bucket& bucket);
    /// Writes everything but id, account and name.
    void update(const Bucket& bucket);
    void erase(std::int64_t row);

    std::optional<Bucket> byID(std::string_view id) const;
    std::optional<Bucket> byRow(std::int64_t row) const;
    /// Finds a bucket of any account; ignores case.
    std::optional<Bucket> byName(std::string_view name) const;
    /// Lists the buckets by name.
    std::vector<Bucket> ofAccount(std::string_view accountID) const;

private:
    Database& database_;
};

} // namespace localb2
