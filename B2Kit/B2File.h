#pragma once

#include "B2Kit/B2Replication.h"
#include "B2Kit/B2Retention.h"
#include "B2Kit/wire/B2OpenText.h"
#include "B2Kit/wire/B2Readable.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The kind of a row in a listing: "upload", "hide", "start", "folder" and future values.
using B2FileAction = B2OpenText<struct B2FileActionTag>;

/// The time kept in `src_last_modified_millis`, or nothing when it is missing or not a number.
std::optional<std::chrono::system_clock::time_point> lastModifiedFrom(
    const std::map<std::string, std::string>& fileInfo);

/// Sets `src_last_modified_millis` to the time, rounded to milliseconds.
void setLastModified(std::map<std::string, std::string>& fileInfo, std::chrono::system_clock::time_point date);

/// One row of a listing, and the answer to most file calls.
struct B2FileVersion {
    std::optional<std::string> fileID; ///< Unset for a folder.
    std::string fileName;
    B2FileAction action;
    std::int64_t contentLength = 0;
    std::optional<std::string> contentType;
    std::optional<std::string> contentSHA1;
    std::map<std::string, std::string> fileInfo;
    std::int64_t uploadTimestamp = 0; ///< Milliseconds since 1970.
    B2LegalHold legalHold = B2LegalHold::unset;
    std::optional<B2Readable<B2FileRetention>> fileRetention;
    std::optional<B2ReplicationStatus> replicationStatus;
    std::optional<B2ServerSideEncryption> serverSideEncryption;

    bool operator==(const B2FileVersion&) const = default;

    /// The file id, or "folder:{fileName}": identifies a row in tables.
    std::string id() const;
    bool isHideMarker() const { return action.rawValue == "hide"; }
    bool isFolder() const { return action.rawValue == "folder"; }
    /// A large file that was started and neither finished nor cancelled.
    bool isUnfinished() const { return action.rawValue == "start"; }
    std::optional<std::chrono::system_clock::time_point> lastModified() const { return lastModifiedFrom(fileInfo); }
    std::optional<std::string> largeFileSHA1() const;
    bool usesCustomerKey() const;
    bool usesServerKey() const;
};

/// One page of a listing.
struct B2FileListPage {
    std::vector<B2FileVersion> files;
    std::optional<std::string> nextFileName;
    std::optional<std::string> nextFileID;

    bool operator==(const B2FileListPage&) const = default;
};

struct B2DeletedFileVersion {
    std::string fileID;
    std::string fileName;

    bool operator==(const B2DeletedFileVersion&) const = default;
};

struct B2LegalHoldResult {
    std::string fileID;
    std::string fileName;
    std::string legalHold; ///< "on" or "off".

    bool operator==(const B2LegalHoldResult&) const = default;
};

struct B2DownloadAuthorization {
    std::string bucketID;
    std::string fileNamePrefix;
    std::string authorizationToken;

    bool operator==(const B2DownloadAuthorization&) const = default;
};
