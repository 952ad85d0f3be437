#include "B2Kit/calls/B2DownloadMetadata.h"

#include "B2Kit/B2Error.h"
#include "B2Kit/wire/B2PercentEncoding.h"
#include "B2Kit/wire/B2Text.h"

#include <algorithm>
#include <charconv>

namespace {

std::string lowercase(std::string_view text)
{
    std::string lower(text);
    std::ranges::transform(
        lower, lower.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return lower;
}

/// The count in a header, or nothing when it is not a number.
std::optional<std::int64_t> numberIn(const std::optional<std::string>& header)
{
    std::int64_t number = 0;
    if (!header)
        return std::nullopt;
    const auto* const end = header->data() + header->size();
    const auto [stop, error] = std::from_chars(header->data(), end, number);
    return error == std::errc() && stop == end && number >= 0 ? std::optional(number) : std::nullopt;
}

std::string decodedOrAsItStands(const std::string& text)
{
    return percentDecoded(text).value_or(text);
}

/// A published digest: nothing for "none", and without the prefix of one that the service has not checked itself.
std::optional<std::string> digestIn(const std::optional<std::string>& text)
{
    constexpr std::string_view uncheckedMark = "unverified:";
    if (!text || *text == "none")
        return std::nullopt;
    auto digest = text->starts_with(uncheckedMark) ? text->substr(uncheckedMark.size()) : *text;
    return digest.empty() ? std::nullopt : std::optional(std::move(digest));
}

std::map<std::string, std::string> fileInfoIn(const B2HTTPResponse& response)
{
    constexpr std::string_view prefix = "x-bz-info-";
    std::map<std::string, std::string> fileInfo;
    for (const auto& [name, value] : response.headers) {
        if (name.size() > prefix.size() && lowercase(name.substr(0, prefix.size())) == prefix)
            fileInfo[name.substr(prefix.size())] = decodedOrAsItStands(value);
    }
    return fileInfo;
}

} // namespace

std::string_view sentence(B2ChecksumSkipReason reason)
{
    switch (reason) {
    case B2ChecksumSkipReason::disabledByCaller:
        return "verification was turned off";
    case B2ChecksumSkipReason::partialResponse:
        return "a partial download cannot match a whole-file checksum";
    case B2ChecksumSkipReason::contentEncoded:
        return "the bytes were decompressed in transit";
    case B2ChecksumSkipReason::noChecksumPublished:
        break;
    }
    return "B2 holds no checksum for this file";
}

std::optional<std::string> B2FileMetadata::largeFileSHA1() const
{
    const auto found = fileInfo.find("large_file_sha1");
    return found == fileInfo.end() ? std::nullopt : std::optional(found->second);
}

B2FileMetadata metadataFrom(const B2HTTPResponse& response, std::int64_t deliveredBytes)
{
    constexpr int partialContent = 206;
    B2FileMetadata metadata;
    metadata.fileID = response.header("X-Bz-File-Id");
    metadata.fileName = decodedOrAsItStands(response.header("X-Bz-File-Name").value_or(""));
    metadata.contentType = response.header("Content-Type");
    metadata.storedContentLength = numberIn(response.header("Content-Length"));
    const std::string encoding(trimmed(response.header("Content-Encoding").value_or("")));
    if (!encoding.empty() && lowercase(encoding) != "identity")
        metadata.contentEncoding = encoding;
    metadata.contentLength =
        metadata.contentEncoding ? deliveredBytes : metadata.storedContentLength.value_or(deliveredBytes);
    metadata.uploadTimestamp = numberIn(response.header("X-Bz-Upload-Timestamp")).value_or(0);
    metadata.fileInfo = fileInfoIn(response);
    metadata.isPartial = response.status == partialContent;
    // A large file has only the digest that its uploader recorded.
    metadata.contentSHA1 = digestIn(response.header("X-Bz-Content-Sha1"));
    if (!metadata.contentSHA1)
        metadata.contentSHA1 = digestIn(metadata.largeFileSHA1());
    return metadata;
}

std::optional<B2ChecksumSkipReason> reasonNotToCheck(const B2FileMetadata& metadata, bool verifies)
{
    if (!verifies)
        return B2ChecksumSkipReason::disabledByCaller;
    if (metadata.isPartial)
        return B2ChecksumSkipReason::partialResponse;
    if (metadata.contentEncoding)
        return B2ChecksumSkipReason::contentEncoded;
    if (!metadata.contentSHA1)
        return B2ChecksumSkipReason::noChecksumPublished;
    return std::nullopt;
}

B2ChecksumOutcome checkedAgainst(const B2FileMetadata& metadata, const std::string& actualSHA1)
{
    const auto& expected = *metadata.contentSHA1;
    if (lowercase(expected) != actualSHA1)
        throw B2Error(B2Error::ChecksumMismatch{.expected = expected, .actual = actualSHA1});
    return {.value = B2ChecksumOutcome::Verified{expected}};
}
