#pragma once

#include "B2Kit/B2File.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

enum class B2ChecksumSkipReason { disabledByCaller, partialResponse, contentEncoded, noChecksumPublished };

/// Returns the reason as a clause, such as "verification was turned off".
std::string_view sentence(B2ChecksumSkipReason reason);

/// Whether the downloaded bytes were compared with the checksum that the service holds.
struct B2ChecksumOutcome {
    struct Verified {
        std::string sha1;
        bool operator==(const Verified&) const = default;
    };
    struct NotVerified {
        B2ChecksumSkipReason reason = B2ChecksumSkipReason::disabledByCaller;
        bool operator==(const NotVerified&) const = default;
    };

    std::variant<Verified, NotVerified> value = NotVerified{};

    bool isVerified() const { return std::holds_alternative<Verified>(value); }
    /// The reason why not, or nothing when they were verified.
    std::optional<B2ChecksumSkipReason> skipReason() const
    {
        const auto* skipped = std::get_if<NotVerified>(&value);
        return skipped ? std::optional(skipped->reason) : std::nullopt;
    }

    bool operator==(const B2ChecksumOutcome&) const = default;
};

/// The description of a file in the headers of a download.
struct B2FileMetadata {
    std::optional<std::string> fileID;
    std::string fileName;
    std::optional<std::string> contentType;
    std::optional<std::string> contentSHA1;
    std::int64_t contentLength = 0;
    std::optional<std::int64_t> storedContentLength;
    std::optional<std::string> contentEncoding;
    std::int64_t uploadTimestamp = 0; ///< Milliseconds since 1970.
    std::map<std::string, std::string> fileInfo;
    bool isPartial = false;
    B2ChecksumOutcome checksum;

    bool operator==(const B2FileMetadata&) const = default;

    std::optional<std::chrono::system_clock::time_point> lastModified() const { return lastModifiedFrom(fileInfo); }
    std::optional<std::string> largeFileSHA1() const;
};

struct B2DownloadedFile {
    std::string data;
    B2FileMetadata metadata;
};
