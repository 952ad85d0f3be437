#include "accounts/KeyStore.h"

#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "accounts/KeyNames.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace {

/// Returns what a session's key lacks for a request, or nothing.
std::optional<std::string> obstacle(const B2Authorization& authorization, const std::set<B2Capability>& needing,
    const std::optional<std::string>& bucketID)
{
    const auto& allowed = authorization.storage.allowed;
    std::set<B2Capability> missing;
    std::ranges::set_difference(needing, allowed.capabilities, std::inserter(missing, missing.end()));
    if (!missing.empty())
        return "lacks " + capabilityList(missing);
    const bool isKept = bucketID && !allowed.buckets.empty()
        && std::ranges::find(allowed.buckets, *bucketID, &B2Authorization::BucketRestriction::id)
            == allowed.buckets.end();
    return isKept ? std::optional<std::string>("is restricted to another bucket") : std::nullopt;
}

} // namespace

KeyStore::SecondSessionFailure::SecondSessionFailure(Kind which, const std::string& sentence)
    : std::runtime_error(sentence)
    , kind(which)
{
}

KeyStore::SecondSessionFailure KeyStore::SecondSessionFailure::noStoredSecret(const std::string& label)
{
    return {Kind::noStoredSecret,
        fmt::format("Kestrovan has no stored secret for “{}”. Remove that key and add it again.", label)};
}

KeyStore::SecondSessionFailure KeyStore::SecondSessionFailure::noCapableKey(
    std::vector<std::string> needed, std::vector<std::string> tried)
{
    SecondSessionFailure failure(Kind::noCapableKey,
        fmt::format("None of Kestrovan's keys for that account can do this. It needs {}. Tried: {}. Add that account's "
                    "Master Application Key, or one with those permissions.",
            fmt::join(needed, ", "), fmt::join(tried, "; ")));
    failure.needed = std::move(needed);
    failure.tried = std::move(tried);
    return failure;
}

KeyStore::SecondSessionFailure KeyStore::SecondSessionFailure::noKeys()
{
    return {Kind::noKeys, "Kestrovan holds no key for that account."};
}

Task<std::shared_ptr<B2Session>> KeyStore::sessionWith(StoredKey key)
{
    auto secret = co_await keychain_.secret(key.keyID);
    if (!secret)
        throw SecondSessionFailure::noStoredSecret(key.label);
    const auto client = clients_.makeClient({key.keyID, std::move(*secret)});
    auto authorization = co_await client->authorized();
    co_return std::make_shared<B2Session>(std::move(key), client, std::move(authorization));
}

Task<std::shared_ptr<B2Session>> KeyStore::secondSession(
    std::string accountID, std::set<B2Capability> needing, std::optional<std::string> bucketID)
{
    std::vector<StoredKey> candidates;
    std::ranges::copy_if(
        *keys, std::back_inserter(candidates), [&](const StoredKey& key) { return key.accountID == accountID; });
    std::vector<std::string> tried;
    std::exception_ptr lastError = std::make_exception_ptr(SecondSessionFailure::noKeys());
    for (const auto& key : candidates) {
        try {
            auto candidate = co_await sessionWith(key);
            const auto reason = obstacle(candidate->authorization, needing, bucketID);
            if (!reason)
                co_return candidate;
            tried.push_back(fmt::format("{} ({})", key.label, *reason));
            record(B2LogLevel::info, "auth", fmt::format("Key {} cannot do this", key.label),
                *reason + ". Trying the next key for this account.");
        } catch (const Cancelled&) {
            throw;
        } catch (...) {
            lastError = std::current_exception();
            auto reason = describe(lastError);
            if (reason.ends_with('.'))
                reason.pop_back();
            record(B2LogLevel::info, "auth", "Could not authorize with key " + key.label,
                reason + ". Trying the next key for this account.");
        }
    }
    if (tried.empty())
        std::rethrow_exception(lastError);
    std::vector<std::string> needed;
    for (const auto& capability : needing)
        needed.push_back(capability.rawValue);
    throw SecondSessionFailure::noCapableKey(std::move(needed), std::move(tried));
}
