#pragma once

#include "localb2/Core.h"
#include "localb2/Http.h"

#include <string>
#include <string_view>
#include <utility>

namespace localb2 {

/// The caller, known by the key behind its token. Every `need…` throws `unauthorized`.
class Caller {
public:
    explicit Caller(Key key)
        : key_(std::move(key))
    {
    }

    const Key& key() const { return key_; }
    const std::string& accountID() const { return key_.accountID; }

    bool can(Capability capability) const { return key_.capabilities.has(capability); }
    void need(Capability capability) const;
    void needAny(Capability first, Capability second) const;
    bool mayUseBucket(std::string_view bucketID) const;
    void needBucket(std::string_view bucketID) const;
    /// A file, or all files with this prefix, within the key's own prefix.
    void needName(std::string_view name) const;
    ReadRights readRights() const;

private:
    Key key_;
};

/// Returns the key behind a token of this kind, if both are still valid.
///
/// @throws Failure 401.
Caller callerOf(Core& core, std::string_view tokenText, Token::Kind kind);

/// Returns the token of the `Authorization` header.
///
/// @throws Failure 401 when there is none.
std::string_view tokenOf(const Request& request);

/// Returns a bucket of the caller's account that is within the key's buckets.
Bucket bucketFor(Core& core, const Caller& caller, std::string_view bucketID);

struct Located {
    Bucket bucket;
    FileVersion version;
};

/// Returns the version with this id in the caller's account; nothing when there is none.
///
/// @throws Failure `bad_request` for a malformed id, 401 for one outside the key's buckets or prefix.
std::optional<Located> versionByID(Core& core, const Caller& caller, std::string_view fileID);

/// Ids of versions, buckets and the caller's rights, for writing records.
RecordStyle styleFor(const Core& core, const Caller& caller, const Bucket& bucket, int apiVersion);

} // namespace localb2
