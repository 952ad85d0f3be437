#pragma once

#include "localb2/Access.h"

#include <optional>
#include <string>

namespace localb2 {

/// How an upload's hash is given.
struct UploadHash {
    enum class Mode { given, atEnd, notVerified, unverified };
    Mode mode = Mode::given;
    std::string hex;
};

/// @throws Failure `bad_request` when the header is missing or unknown.
UploadHash hashOfUpload(const Request& request);

/// Bytes of content an upload announces, without a hash at its end.
std::int64_t lengthOfUpload(const Request& request, const UploadHash& hash);

/// Reads the body into the writer and checks its hash. Takes no lock.
///
/// @return the hash as it is shown later.
std::string receive(const Request& request, const UploadHash& hash, std::int64_t length, BodyWriter& writer);

/// Holds an upload token while its upload runs: it serves one at a time, and is spent by most failures.
class UploadTurn {
public:
    /// With the core's lock held, which the body's owner may leave and take meanwhile.
    ///
    /// @throws Failure for a token that is no good for this target, or busy.
    UploadTurn(Core& core, std::unique_lock<std::mutex>& lock, const Request& request, Token::Kind kind,
        std::string_view target);
    /// Leaves with the lock held.
    ~UploadTurn();
    UploadTurn(const UploadTurn&) = delete;
    UploadTurn& operator=(const UploadTurn&) = delete;

    const Caller& caller() const { return *caller_; }

    /// The URL goes on serving; also after a refusal that is the request's own fault.
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
