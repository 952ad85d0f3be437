#pragma once

#include "B2Kit/B2File.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// An address for one upload at a time, valid for about a day.
struct B2UploadTarget {
    std::string bucketID;
    std::string uploadURL;
    std::string authorizationToken;

    bool operator==(const B2UploadTarget&) const = default;
};

/// An address for one part of a large file at a time, valid for about a day.
struct B2UploadPartTarget {
    std::string fileID;
    std::string uploadURL;
    std::string authorizationToken;

    bool operator==(const B2UploadPartTarget&) const = default;
};

struct B2Part {
    std::string fileID;
    int partNumber = 0;
    std::int64_t contentLength = 0;
    std::optional<std::string> contentSHA1;
    std::int64_t uploadTimestamp = 0; ///< Milliseconds since 1970.

    bool operator==(const B2Part&) const = default;
};

struct B2PartsPage {
    std::vector<B2Part> parts;
    std::optional<int> nextPartNumber;

    bool operator==(const B2PartsPage&) const = default;
};

struct B2UnfinishedLargeFilesPage {
    std::vector<B2FileVersion> files;
    std::optional<std::string> nextFileID;

    bool operator==(const B2UnfinishedLargeFilesPage&) const = default;
};

struct B2CancelledLargeFile {
    std::string fileID;
    std::string accountID;
    std::string bucketID;
    std::string fileName;

    bool operator==(const B2CancelledLargeFile&) const = default;
};

struct B2CopiedPart {
    std::string fileId;
    int partNumber = 0;
    std::int64_t contentLength = 0;
    std::string contentSha1;

    bool operator==(const B2CopiedPart&) const = default;
};
