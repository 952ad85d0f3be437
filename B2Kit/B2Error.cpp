#include "B2Kit/B2Error.h"

#include <fmt/format.h>

namespace {

struct Description {
    std::string operator()(const B2APIError& error) const
    {
        if (error.message.empty() && error.code == "unauthorized")
            return "B2 401 unauthorized: this key is not allowed to make that call";
        return fmt::format("B2 {} {}: {}", error.status, error.code, error.message);
    }
    std::string operator()(const B2Error::InvalidResponse& error) const { return "Invalid response: " + error.text; }
    std::string operator()(const B2Error::FileTooLargeForSingleUpload& error) const
    {
        return fmt::format(
            "{} bytes exceeds the 5000000000 byte limit for b2_upload_file; use the large-file API.", error.bytes);
    }
    std::string operator()(const B2Error::FileTooSmallForLargeUpload& error) const
    {
        return fmt::format(
            "{} bytes is below B2's 5000001 byte minimum for a large file; use uploadFile.", error.bytes);
    }
    std::string operator()(const B2Error::PartCountExceeded& error) const
    {
        return fmt::format("A part size this small would need {} parts; B2 allows {}.", error.needed, error.maximum);
    }
    std::string operator()(const B2Error::MissingPart& error) const
    {
        return fmt::format("Part {} is missing, so the large file cannot be finished.", error.partNumber);
    }
    std::string operator()(const B2Error::ChecksumMismatch& error) const
    {
        return fmt::format(
            "Downloaded bytes do not match the SHA1 B2 reported: expected {}, got {}.", error.expected, error.actual);
    }
    std::string operator()(const B2Error::InvalidURL& error) const
    {
        return "Could not form a valid URL: " + error.text;
    }
    std::string operator()(const B2Error::SourceChangedSinceUpload& error) const
    {
        if (error.isFinished)
            return "The file has changed since this upload was started, and the upload has been finished with what it "
                   "held then.";
        return fmt::format("The file has changed since this upload was started: part {} no longer matches what is "
                           "stored on B2. Resuming would combine two different versions, so it has to start again.",
            error.partNumber);
    }
    std::string operator()(const B2Error::ClientUnavailable&) const
    {
        return "The B2 client was deallocated before the operation completed.";
    }
};

} // namespace

bool B2APIError::isExpiredAuthorization() const
{
    return status == 401 && (code == "expired_auth_token" || code == "bad_auth_token");
}

bool B2APIError::isRetryable() const
{
    return status == 408 || status == 429 || status >= 500;
}

bool B2APIError::isBadBucketID() const
{
    return status == 400 && code == "bad_bucket_id";
}

B2Error::B2Error(Case which)
    : case_(std::move(which))
    , description_(std::visit(Description{}, case_))
{
}

B2Error B2Error::ofAuthorization(B2APIError refusal)
{
    // Both kinds of code have been seen for a deleted key.
    const bool isAboutKey =
        refusal.isExpiredAuthorization() || (refusal.status == 401 && refusal.code == "unauthorized");
    B2Error error(std::move(refusal));
    if (isAboutKey)
        error.description_ = "Backblaze rejected this key. It has been deleted, or it reached the lifetime it was "
                             "created with. Connect with another key.";
    return error;
}

B2TransportError::B2TransportError(Code code, std::string description)
    : code_(code)
    , description_(std::move(description))
{
}
