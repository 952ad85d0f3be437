#pragma once

#include "B2Kit/B2Bucket.h"
#include "B2Kit/B2Capability.h"
#include "B2Kit/B2Replication.h"
#include "B2Kit/B2Retention.h"
#include "B2Kit/transport/B2Transport.h"
#include "B2Kit/uploads/B2PartRetryEvent.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct B2APIError;

struct B2CreateBucketRequest {
    std::string bucketName;
    B2BucketType bucketType;
    std::map<std::string, std::string> bucketInfo;
    std::vector<B2LifecycleRule> lifecycleRules;
    bool isFileLockEnabled = false;
};

/// The changes to a bucket. Exactly the fields that are set are sent.
struct B2UpdateBucketRequest {
    std::string bucketID;
    std::optional<B2BucketType> bucketType;
    std::optional<std::map<std::string, std::string>> bucketInfo;
    std::optional<std::vector<B2LifecycleRule>> lifecycleRules;
    std::optional<std::vector<B2CORSRule>> corsRules;
    std::optional<bool> fileLockEnabled;
    std::optional<B2RetentionUpdate> defaultRetention;
    std::optional<B2EncryptionUpdate> defaultServerSideEncryption;
    std::optional<B2ReplicationConfiguration> replicationConfiguration;
    std::optional<int> ifRevisionIs; ///< The revision the change is based on; any other is refused with 409.
};

struct B2SetReplicationRequest {
    std::string bucketID;
    B2ReplicationConfiguration configuration;
    std::optional<int> ifRevisionIs;
};

/// Selects a page of a bucket's current names.
struct B2ListFileNamesRequest {
    std::string bucketID;
    std::optional<std::string> startFileName; ///< First name to return; unset for the first page.
    int maxFileCount = 1000;                  ///< 1 to 10,000; each started 1,000 returned bills one call.
    std::optional<std::string> prefix;
    std::optional<std::string> delimiter;
};

/// Selects a page of a bucket's versions.
struct B2ListFileVersionsRequest {
    std::string bucketID;
    std::optional<std::string> startFileName;
    std::optional<std::string> startFileID; ///< Only with `startFileName`.
    int maxFileCount = 1000;                ///< 1 to 10,000; each started 1,000 returned bills one call.
    std::optional<std::string> prefix;
    std::optional<std::string> delimiter;
};

struct B2DeleteFileVersionRequest {
    std::string fileID;
    std::string fileName;
    bool bypassesGovernance = false;
};

struct B2SetLegalHoldRequest {
    std::string fileID;
    std::string fileName;
    bool isOn = false;
};

struct B2DownloadAuthorizationRequest {
    std::string bucketID;
    std::string fileNamePrefix;
    int validDurationInSeconds = 3600;
};

struct B2CreateKeyRequest {
    std::vector<B2Capability> capabilities;
    std::string keyName;
    std::optional<int> validDurationInSeconds;
    std::vector<std::string> bucketIDs; ///< Empty for an account-wide key.
    std::optional<std::string> namePrefix;
};

/// The version of the API that a call on keys goes to. Each may know only some of an account's keys.
enum class B2KeyAPI { version3, version4 };

struct B2ListKeysRequest {
    int maxKeyCount = 1000;
    std::optional<std::string> startApplicationKeyID;
    B2KeyAPI api = B2KeyAPI::version4;
    bool (*expectsRefusal)(const B2APIError&) = nullptr; ///< Refusals that are no errors in the log.
};

struct B2DeleteKeyRequest {
    std::string applicationKeyID;
    B2KeyAPI api = B2KeyAPI::version4;
    bool (*expectsRefusal)(const B2APIError&) = nullptr; ///< Refusals that are no errors in the log.
    /// If not null: becomes true when an answer was lost, so that the key may be gone. Must outlive the call.
    bool* mayHaveBeenDone = nullptr;
};

struct B2UploadFileRequest {
    std::string bucketID;
    std::string fileName;
    std::string contentType = "b2/x-auto";
    /// From memory or from a file. A file above 1 MB is read twice, once for its digest and once to send it. The range
    /// ends where the file does; a file that changes in the meantime is not stored.
    B2UploadBody body;
    std::map<std::string, std::string> fileInfo;
    std::optional<std::chrono::system_clock::time_point> modificationDate; ///< Kept as `src_last_modified_millis`.
    B2Progress onProgress;
    B2OnRetry onRetry; ///< Waits for a busy service, and their end.
    /// The whole file went out and no readable answer came, so it may be stored whatever follows. On any thread.
    std::function<void()> onAnswerLost;
};

struct B2StartLargeFileRequest {
    std::string bucketID;
    std::string fileName;
    std::string contentType = "b2/x-auto";
    std::map<std::string, std::string> fileInfo;
};

/// Selects a page of a bucket's unfinished large files.
struct B2ListUnfinishedLargeFilesRequest {
    std::string bucketID;
    std::optional<std::string> namePrefix;
    std::optional<std::string> startFileID; ///< First id to return; unset for the first page.
    int maxFileCount = 100;                 ///< 1 to 100; a larger number counts as 100.
};

/// The first and the last byte wanted.
struct B2ByteRange {
    std::int64_t first = 0;
    std::int64_t last = 0;
};

struct B2DownloadByNameRequest {
    std::string bucketName;
    std::string fileName;
    std::optional<B2ByteRange> range;
    bool verifies = true; ///< Compare the SHA-1 if the service has one.
    B2Progress onProgress;
    B2OnRetry onRetry; ///< Waits for a busy service, and their end.
};

struct B2DownloadByIDRequest {
    std::string fileID;
    std::optional<B2ByteRange> range;
    bool verifies = true;
    B2Progress onProgress;
    B2OnRetry onRetry; ///< Waits for a busy service, and their end.
};

struct B2FileDestination {
    std::filesystem::path path;
    /// Set on the file; if unset, `src_last_modified_millis` is used where the file has it.
    std::optional<std::chrono::system_clock::time_point> modificationDate;
    /// The path's parent, held open: the file lands there even if the path now leads elsewhere.
    std::shared_ptr<const B2Folder> folder;
    /// If set, nothing at the path is replaced. Called on a thread that may block.
    B2TemporaryFile::OtherPath otherPath;
};
