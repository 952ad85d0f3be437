#pragma once

#include "B2Kit/B2Authorization.h"
#include "B2Kit/B2Bucket.h"
#include "B2Kit/B2Error.h"
#include "B2Kit/B2File.h"
#include "B2Kit/B2Key.h"
#include "B2Kit/uploads/B2Upload.h"

#include <string_view>
#include <tuple>

// Inside B2Kit: maps JSON keys to the fields of records, once for reading and for writing.

/// The effect of a missing or wrong field on its record.
enum class B2Presence {
    required,  ///< Must be there and right.
    defaulted, ///< May be missing or null, and then keeps its default.
    tolerant,  ///< May also be of a wrong shape: one odd field never loses a bucket or a file from a listing.
};

template <class Record, class Value>
struct B2Field {
    std::string_view key;
    Value Record::* member;
    B2Presence presence;
    bool isURL = false;
};

template <class Record, class Value>
constexpr B2Field<Record, Value> required(std::string_view key, Value Record::* member)
{
    return {key, member, B2Presence::required};
}

template <class Record, class Value>
constexpr B2Field<Record, Value> defaulted(std::string_view key, Value Record::* member)
{
    return {key, member, B2Presence::defaulted};
}

template <class Record, class Value>
constexpr B2Field<Record, Value> tolerant(std::string_view key, Value Record::* member)
{
    return {key, member, B2Presence::tolerant};
}

/// Marks a field for an address, whose text must look like a web address.
template <class Record, class Value>
constexpr B2Field<Record, Value> url(B2Field<Record, Value> field)
{
    field.isURL = true;
    return field;
}

/// The fields of a record as a tuple `list`, in the order in which they are written.
template <class Record>
struct B2Fields;

template <class Record>
concept B2HasFields = requires { B2Fields<Record>::list; };

template <>
struct B2Fields<B2APIError> {
    static constexpr std::tuple list{
        required("status", &B2APIError::status),
        required("code", &B2APIError::code),
        required("message", &B2APIError::message),
    };
};

template <>
struct B2Fields<B2Authorization> {
    static constexpr std::tuple list{
        required("accountId", &B2Authorization::accountID),
        required("authorizationToken", &B2Authorization::authorizationToken),
        defaulted("applicationKeyExpirationTimestamp", &B2Authorization::applicationKeyExpirationTimestamp),
        required("apiInfo", &B2Authorization::storage),
    };
};

template <>
struct B2Fields<B2Authorization::StorageAPI> {
    using API = B2Authorization::StorageAPI;
    static constexpr std::tuple list{
        url(required("apiUrl", &API::apiURL)),
        url(required("downloadUrl", &API::downloadURL)),
        url(defaulted("s3ApiUrl", &API::s3URL)),
        required("recommendedPartSize", &API::recommendedPartSize),
        required("absoluteMinimumPartSize", &API::absoluteMinimumPartSize),
        required("allowed", &API::allowed),
    };
};

template <>
struct B2Fields<B2Authorization::Allowed> {
    static constexpr std::tuple list{
        required("capabilities", &B2Authorization::Allowed::capabilities),
        defaulted("buckets", &B2Authorization::Allowed::buckets),
        defaulted("namePrefix", &B2Authorization::Allowed::namePrefix),
    };
};

template <>
struct B2Fields<B2Authorization::BucketRestriction> {
    static constexpr std::tuple list{
        required("id", &B2Authorization::BucketRestriction::id),
        defaulted("name", &B2Authorization::BucketRestriction::name),
    };
};

template <>
struct B2Fields<B2Bucket> {
    static constexpr std::tuple list{
        required("accountId", &B2Bucket::accountID),
        required("bucketId", &B2Bucket::bucketID),
        required("bucketName", &B2Bucket::bucketName),
        required("bucketType", &B2Bucket::bucketType),
        defaulted("bucketInfo", &B2Bucket::bucketInfo),
        defaulted("lifecycleRules", &B2Bucket::lifecycleRules),
        defaulted("revision", &B2Bucket::revision),
        tolerant("corsRules", &B2Bucket::corsRules),
        tolerant("fileLockConfiguration", &B2Bucket::fileLock),
        tolerant("defaultServerSideEncryption", &B2Bucket::defaultEncryption),
        tolerant("replicationConfiguration", &B2Bucket::replication),
        tolerant("options", &B2Bucket::options),
    };
};

template <>
struct B2Fields<B2LifecycleRule> {
    using Rule = B2LifecycleRule;
    static constexpr std::tuple list{
        required("fileNamePrefix", &Rule::fileNamePrefix),
        defaulted("daysFromUploadingToHiding", &Rule::daysFromUploadingToHiding),
        defaulted("daysFromHidingToDeleting", &Rule::daysFromHidingToDeleting),
        defaulted(
            "daysFromStartingToCancelingUnfinishedLargeFiles", &Rule::daysFromStartingToCancelingUnfinishedLargeFiles),
    };
};

template <>
struct B2Fields<B2CORSRule> {
    static constexpr std::tuple list{
        required("corsRuleName", &B2CORSRule::corsRuleName),
        required("allowedOrigins", &B2CORSRule::allowedOrigins),
        required("allowedOperations", &B2CORSRule::allowedOperations),
        defaulted("allowedHeaders", &B2CORSRule::allowedHeaders),
        defaulted("exposeHeaders", &B2CORSRule::exposeHeaders),
        required("maxAgeSeconds", &B2CORSRule::maxAgeSeconds),
    };
};

template <>
struct B2Fields<B2FileLockConfiguration> {
    static constexpr std::tuple list{
        defaulted("isFileLockEnabled", &B2FileLockConfiguration::isFileLockEnabled),
        defaulted("defaultRetention", &B2FileLockConfiguration::defaultRetention),
    };
};

template <>
struct B2Fields<B2DefaultRetention> {
    static constexpr std::tuple list{
        defaulted("mode", &B2DefaultRetention::mode),
        tolerant("period", &B2DefaultRetention::period),
    };
};

template <>
struct B2Fields<B2DefaultRetention::Period> {
    static constexpr std::tuple list{
        required("duration", &B2DefaultRetention::Period::duration),
        required("unit", &B2DefaultRetention::Period::unit),
    };
};

template <>
struct B2Fields<B2ServerSideEncryption> {
    static constexpr std::tuple list{
        defaulted("mode", &B2ServerSideEncryption::mode),
        defaulted("algorithm", &B2ServerSideEncryption::algorithm),
    };
};

template <>
struct B2Fields<B2FileRetention> {
    static constexpr std::tuple list{
        defaulted("mode", &B2FileRetention::mode),
        defaulted("retainUntilTimestamp", &B2FileRetention::retainUntilTimestamp),
    };
};

template <>
struct B2Fields<B2ReplicationConfiguration> {
    static constexpr std::tuple list{
        defaulted("asReplicationSource", &B2ReplicationConfiguration::asReplicationSource),
        defaulted("asReplicationDestination", &B2ReplicationConfiguration::asReplicationDestination),
    };
};

template <>
struct B2Fields<B2ReplicationConfiguration::Source> {
    using Source = B2ReplicationConfiguration::Source;
    static constexpr std::tuple list{
        required("replicationRules", &Source::replicationRules),
        required("sourceApplicationKeyId", &Source::sourceApplicationKeyID),
    };
};

template <>
struct B2Fields<B2ReplicationConfiguration::Destination> {
    using Destination = B2ReplicationConfiguration::Destination;
    static constexpr std::tuple list{
        required("sourceToDestinationKeyMapping", &Destination::sourceToDestinationKeyMapping),
    };
};

template <>
struct B2Fields<B2ReplicationRule> {
    static constexpr std::tuple list{
        required("replicationRuleName", &B2ReplicationRule::replicationRuleName),
        required("destinationBucketId", &B2ReplicationRule::destinationBucketID),
        defaulted("fileNamePrefix", &B2ReplicationRule::fileNamePrefix),
        defaulted("includeExistingFiles", &B2ReplicationRule::includeExistingFiles),
        defaulted("isEnabled", &B2ReplicationRule::isEnabled),
        defaulted("priority", &B2ReplicationRule::priority),
    };
};

template <>
struct B2Fields<B2ApplicationKey> {
    static constexpr std::tuple list{
        required("applicationKeyId", &B2ApplicationKey::applicationKeyID),
        required("keyName", &B2ApplicationKey::keyName),
        required("accountId", &B2ApplicationKey::accountID),
        required("capabilities", &B2ApplicationKey::capabilities),
        defaulted("expirationTimestamp", &B2ApplicationKey::expirationTimestamp),
        defaulted("bucketIds", &B2ApplicationKey::bucketIDs),
        defaulted("namePrefix", &B2ApplicationKey::namePrefix),
    };
};

template <>
struct B2Fields<B2CreatedApplicationKey> {
    static constexpr std::tuple list{
        required("applicationKey", &B2CreatedApplicationKey::applicationKey),
    };
};

template <>
struct B2Fields<B2KeysPage> {
    static constexpr std::tuple list{
        required("keys", &B2KeysPage::keys),
        defaulted("nextApplicationKeyId", &B2KeysPage::nextApplicationKeyID),
    };
};

template <>
struct B2Fields<B2FileVersion> {
    static constexpr std::tuple list{
        defaulted("fileId", &B2FileVersion::fileID),
        required("fileName", &B2FileVersion::fileName),
        required("action", &B2FileVersion::action),
        defaulted("contentLength", &B2FileVersion::contentLength),
        defaulted("contentType", &B2FileVersion::contentType),
        defaulted("contentSha1", &B2FileVersion::contentSHA1),
        defaulted("fileInfo", &B2FileVersion::fileInfo),
        defaulted("uploadTimestamp", &B2FileVersion::uploadTimestamp),
        tolerant("legalHold", &B2FileVersion::legalHold),
        tolerant("fileRetention", &B2FileVersion::fileRetention),
        tolerant("replicationStatus", &B2FileVersion::replicationStatus),
        tolerant("serverSideEncryption", &B2FileVersion::serverSideEncryption),
    };
};

template <>
struct B2Fields<B2FileListPage> {
    static constexpr std::tuple list{
        required("files", &B2FileListPage::files),
        defaulted("nextFileName", &B2FileListPage::nextFileName),
        defaulted("nextFileId", &B2FileListPage::nextFileID),
    };
};

template <>
struct B2Fields<B2DeletedFileVersion> {
    static constexpr std::tuple list{
        required("fileId", &B2DeletedFileVersion::fileID),
        required("fileName", &B2DeletedFileVersion::fileName),
    };
};

template <>
struct B2Fields<B2LegalHoldResult> {
    static constexpr std::tuple list{
        required("fileId", &B2LegalHoldResult::fileID),
        required("fileName", &B2LegalHoldResult::fileName),
        required("legalHold", &B2LegalHoldResult::legalHold),
    };
};

template <>
struct B2Fields<B2DownloadAuthorization> {
    static constexpr std::tuple list{
        required("bucketId", &B2DownloadAuthorization::bucketID),
        required("fileNamePrefix", &B2DownloadAuthorization::fileNamePrefix),
        required("authorizationToken", &B2DownloadAuthorization::authorizationToken),
    };
};

template <>
struct B2Fields<B2UploadTarget> {
    static constexpr std::tuple list{
        required("bucketId", &B2UploadTarget::bucketID),
        url(required("uploadUrl", &B2UploadTarget::uploadURL)),
        required("authorizationToken", &B2UploadTarget::authorizationToken),
    };
};

template <>
struct B2Fields<B2UploadPartTarget> {
    static constexpr std::tuple list{
        required("fileId", &B2UploadPartTarget::fileID),
        url(required("uploadUrl", &B2UploadPartTarget::uploadURL)),
        required("authorizationToken", &B2UploadPartTarget::authorizationToken),
    };
};

template <>
struct B2Fields<B2Part> {
    static constexpr std::tuple list{
        required("fileId", &B2Part::fileID),
        required("partNumber", &B2Part::partNumber),
        defaulted("contentLength", &B2Part::contentLength),
        defaulted("contentSha1", &B2Part::contentSHA1),
        defaulted("uploadTimestamp", &B2Part::uploadTimestamp),
    };
};

template <>
struct B2Fields<B2PartsPage> {
    static constexpr std::tuple list{
        required("parts", &B2PartsPage::parts),
        defaulted("nextPartNumber", &B2PartsPage::nextPartNumber),
    };
};

template <>
struct B2Fields<B2UnfinishedLargeFilesPage> {
    static constexpr std::tuple list{
        required("files", &B2UnfinishedLargeFilesPage::files),
        defaulted("nextFileId", &B2UnfinishedLargeFilesPage::nextFileID),
    };
};

template <>
struct B2Fields<B2CancelledLargeFile> {
    static constexpr std::tuple list{
        required("fileId", &B2CancelledLargeFile::fileID),
        required("accountId", &B2CancelledLargeFile::accountID),
        required("bucketId", &B2CancelledLargeFile::bucketID),
        required("fileName", &B2CancelledLargeFile::fileName),
    };
};

template <>
struct B2Fields<B2CopiedPart> {
    static constexpr std::tuple list{
        required("fileId", &B2CopiedPart::fileId),
        required("partNumber", &B2CopiedPart::partNumber),
        required("contentLength", &B2CopiedPart::contentLength),
        required("contentSha1", &B2CopiedPart::contentSha1),
    };
};
