#pragma once

#include "B2Kit/B2Capability.h"
#include "accounts/StoredKey.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

inline constexpr std::string_view unnamedKeyLabel = "Unnamed key";
inline constexpr std::string_view unknownAccountName = "Account not yet known";

/// A key id short enough for a sentence: "ABCDEF…WXYZ" from 13 characters on.
std::string shortKeyID(const std::string& keyID);

/// The name an account gets when it first connects: "{region} ({last four characters of the id})".
///
/// @param s3URL  the account's S3 endpoint, whose host names the region.
std::string defaultAccountName(const std::string& accountID, const std::optional<std::string>& s3URL);

/// The name of an account without a stored one: "Account {last four characters of the id}".
std::string unnamedAccountName(const std::string& accountID);

/// The region in an S3 endpoint ("us-west-004"), or nothing.
std::optional<std::string> regionOf(const std::optional<std::string>& s3URL);

/// The names of capabilities, sorted: "listBuckets, listFiles".
std::string capabilityList(const std::set<B2Capability>& capabilities);

/// Is it the account's master application key? Its id is the account's.
bool isMasterKey(const StoredKey& key);

/// The keys by account: revoked ones last, master keys first, then by name; accounts by name.
///
/// Keys whose account is not yet known are in no group.
std::vector<StoredAccount> groupByAccount(const std::vector<StoredKey>& keys,
    const std::map<std::string, std::string>& accountNames, const std::set<std::string>& revokedKeyIDs);
