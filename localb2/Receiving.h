#pragma once

#include "localb2/Access.h"

#include <optional>
#include <string>

namespace localb2 {

/// The ways in which an upload's hash is given.
struct UploadHash {
    enum class Mode { given, atEnd, notVerified, unverified };
    Mode mode = Mode::given;
    std::string hex;
};

/// @throws Failure `bad_request` when the header is missing or unknown.
UploadHash hashOfUpload(const Request& request);

/// Returns the length of the content that an upload announces, without a hash at its end.
std::int64_t lengthOfUpload(const Request& request, const UploadHash& hash);

/// Reads the body into the writer and checks its hash. Takes no lock.
///
/// @returns the hash as it is shown later.
std::string receive(const Request& request, const UploadHash& hash, std::int64_t length, BodyWriter& writer);

/// Holds an upload token during its upload. A token serves one upload at a time, and most failures use it up.
class UploadTurn {
public:
    /// Call with the core's lock held; the body's owner may release and take it in the meantime.
    ///
    /// @throws Failure for a token that is not valid for this target, or busy.
    UploadTurn(Core& core, std::unique_lock<std::mutex>& lock, const Request& request, Token::Kind kind,
        std::string_view target);
    /// Call with the lock held.
    ~UploadTurn();
    UploadTurn(const UploadTurn&) = delete;
    UploadTurn& operator=(const UploadTurn&) = delete;

    const Caller& caller() const { return *caller_; }

    /// Keeps the URL valid; also after a refusal that is the request's own fault.
    void keep() { isKept_ = true; }

private:
    Core& core_;
    std::unique_lock<std::mutex>& lock_;
    std::string token_;
    std::optional<Caller> caller_;
    bool isKept_ = false;
};

/// Refuses as a test mode asks.
void checkTestMode(Core& core, const Request& request);

} // namespace localb2
