#include "localb2/Receiving.h"

#include "localb2/Encoding.h"

#include <algorithm>
#include <random>
#include <vector>

namespace localb2 {

namespace {

constexpr std::int64_t hexDigits = 40;
constexpr std::int64_t highestLength = 5'000'000'000;
constexpr std::int64_t bufferSize = 262'144;

void readFully(BodyReader& body, std::span<char> bytes)
{
    while (!bytes.empty()) {
        const auto count = body.read(bytes);
        if (count == 0)
            throw Disconnected();
        bytes = bytes.subspan(count);
    }
}

} // namespace

UploadHash hashOfUpload(const Request& request)
{
    const auto* const header = request.header("X-Bz-Content-Sha1");
    if (!header)
        throw badRequest("header X-Bz-Content-Sha1 is required");
    if (isSHA1(*header))
        return {UploadHash::Mode::given, lowerCased(*header)};
    if (*header == "hex_digits_at_end")
        return {UploadHash::Mode::atEnd, {}};
    if (*header == "do_not_verify")
        return {UploadHash::Mode::notVerified, {}};
    if (header->starts_with("unverified:") && isSHA1(header->substr(11)))
        return {UploadHash::Mode::unverified, lowerCased(header->substr(11))};
    throw badRequest("Bad X-Bz-Content-Sha1");
}

std::int64_t lengthOfUpload(const Request& request, const UploadHash& hash)
{
    if (!request.contentLength)
        throw badRequest("header Content-Length is required");
    const auto announced =
        static_cast<std::int64_t>(std::min(*request.contentLength, static_cast<std::uint64_t>(2 * highestLength)));
    const auto length = hash.mode == UploadHash::Mode::atEnd ? announced - hexDigits : announced;
    if (length < 0)
        throw badRequest("The body is too short for the hash at its end");
    if (length > highestLength)
        throw badRequest("The body is larger than " + std::to_string(highestLength) + " bytes");
    return length;
}

std::string receive(const Request& request, const UploadHash& hash, std::int64_t length, BodyWriter& writer)
{
    std::vector<char> buffer(static_cast<std::size_t>(std::min(length, bufferSize)));
    for (auto remaining = length; remaining > 0;) {
        const auto wanted = static_cast<std::size_t>(std::min(remaining, bufferSize));
        const auto count = request.upload->read(std::span(buffer).first(wanted));
        if (count == 0)
            throw Disconnected();
        writer.add(std::span(buffer).first(count));
        remaining -= static_cast<std::int64_t>(count);
    }
    const auto& actual = writer.finish();
    auto expected = hash.hex;
    if (hash.mode == UploadHash::Mode::atEnd) {
        expected.resize(hexDigits);
        readFully(*request.upload, expected);
        expected = lowerCased(expected);
    }
    switch (hash.mode) {
    case UploadHash::Mode::notVerified:
        return "unverified:" + actual.sha1;
    case UploadHash::Mode::unverified:
        return "unverified:" + expected;
    case UploadHash::Mode::given:
    case UploadHash::Mode::atEnd:
        break;
    }
    if (expected != actual.sha1)
        throw badRequest("Sha1 did not match data received");
    return expected;
}

UploadTurn::UploadTurn(
    Core& core, std::unique_lock<std::mutex>& lock, const Request& request, Token::Kind kind, std::string_view target)
    : core_(core)
    , lock_(lock)
    , token_(tokenOf(request))
    , caller_(callerOf(core, token_, kind))
{
    auto* const token = core.tokens.find(token_);
    if (token->target != target)
        throw Failure(401, "bad_auth_token", "The token is for another upload URL");
    if (token->isBusy)
        throw Failure(400, "auth_token_limit", "more than one upload using auth token " + token_);
    token->isBusy = true;
}

UploadTurn::~UploadTurn()
{
    if (!lock_.owns_lock())
        lock_.lock();
    auto* const token = core_.tokens.find(token_);
    if (!token)
        return;
    token->isBusy = false;
    if (isKept_)
        return;
    try {
        core_.tokens.expire(token_);
    } catch (const std::exception&) {
        // The token is then valid again after a restart, which does no harm.
    }
}

void checkTestMode(Core& core, const Request& request)
{
    const auto* const mode = request.header("X-Bz-Test-Mode");
    if (!mode)
        return;
    if (*mode == "force_cap_exceeded")
        throw Failure(403, "cap_exceeded", "Usage cap exceeded");
    static thread_local std::minstd_rand random(std::random_device{}());
    if (*mode == "fail_some_uploads" && std::uniform_real_distribution<>(0, 1)(random) < core.settings.testModeRate)
        throw Failure(503, "service_unavailable", "c001_v0001113_t0035 is too busy");
}

} // namespace localb2
