#include "localb2/Calls.h"

#include "localb2/Encoding.h"

#include <openssl/crypto.h>

namespace localb2 {

namespace {

constexpr std::int64_t minimumPartSize = 5'000'000;

Key keyOfCredentials(Core& core, const Request& request)
{
    const auto* const header = request.header("Authorization");
    if (!header || !header->starts_with("Basic "))
        throw Failure(401, "bad_auth_token", "");
    const auto credentials = base64Decoded(header->substr(6)).value_or("");
    const auto colon = credentials.find(':');
    if (colon == std::string::npos)
        throw Failure(401, core.settings.wrongKeyCode, "");
    auto key = core.keys.byID(credentials.substr(0, colon));
    const auto secret = credentials.substr(colon + 1);
    const bool isRight = key && key->secret.size() == secret.size()
        && CRYPTO_memcmp(key->secret.data(), secret.data(), secret.size()) == 0;
    if (!isRight)
        throw Failure(401, core.settings.wrongKeyCode, "");
    if (key->expires && *key->expires <= core.now())
        throw Failure(401, "unauthorized", "");
    return std::move(*key);
}

std::string bucketName(Core& core, const Key& key, std::string_view id)
{
    const auto bucket = core.buckets.byID(id);
    return bucket && bucket->accountID == key.accountID ? bucket->name : std::string();
}

void putBuckets(Core& core, const Key& key, JSONObject& allowed, int apiVersion)
{
    if (apiVersion >= 4) {
        if (!key.bucketIDs) {
            allowed.null("buckets");
            return;
        }
        auto& list = allowed.value("buckets");
        list += '[';
        for (const auto& id : *key.bucketIDs) {
            list += list.back() == '[' ? "" : ",";
            JSONObject bucket(list);
            bucket.text("id", id);
            bucket.textOrNull("name", bucketName(core, key, id));
        }
        list += ']';
        return;
    }
    const auto id = key.bucketIDs ? key.bucketIDs->front() : std::string();
    allowed.textOrNull("bucketId", id);
    allowed.textOrNull("bucketName", id.empty() ? id : bucketName(core, key, id));
}

void putAllowed(Core& core, const Key& key, JSONObject& allowed, int apiVersion)
{
    allowed.raw("capabilities", key.capabilities.json());
    putBuckets(core, key, allowed, apiVersion);
    allowed.textOrNull("namePrefix", key.prefix);
}

void putStorage(const Core& core, JSONObject& storage)
{
    storage.number("absoluteMinimumPartSize", minimumPartSize);
    storage.number("recommendedPartSize", core.recommendedPartSize);
    storage.text("apiUrl", core.baseURL);
    storage.text("downloadUrl", core.baseURL);
    storage.text("s3ApiUrl", core.baseURL);
}

} // namespace

Answer authorizeAccount(Core& core, const Request& request, int apiVersion)
{
    const std::scoped_lock lock(core.mutex);
    const auto key = keyOfCredentials(core, request);
    if (apiVersion < 4 && key.isMultiBucket())
        throw Failure(401, "unsupported", "Keys restricted to several buckets need API version 4");
    auto expires = core.now() + day;
    if (key.expires)
        expires = std::min(expires, *key.expires);
    const auto* const testMode = request.header("X-Bz-Test-Mode");
    if (testMode && *testMode == "expire_some_account_authorization_tokens"
        && static_cast<double>(core.now() % 1000) < 1000 * core.settings.testModeRate)
        expires = 0;
    const auto token = core.tokens.add({.kind = Token::Kind::account, .keyID = key.id, .expires = expires}, core.now());

    Answer answer;
    {
        JSONObject result(answer.body);
        result.text("accountId", key.accountID);
        result.text("authorizationToken", token);
        if (apiVersion >= 3) {
            if (key.expires)
                result.number("applicationKeyExpirationTimestamp", *key.expires);
            else
                result.null("applicationKeyExpirationTimestamp");
            JSONObject groups(result.value("apiInfo"));
            JSONObject storage(groups.value("storageApi"));
            putStorage(core, storage);
            if (apiVersion == 3) {
                storage.text("infoType", "storageApi");
                putAllowed(core, key, storage, apiVersion);
            } else {
                JSONObject allowed(storage.value("allowed"));
                putAllowed(core, key, allowed, apiVersion);
            }
        } else {
            putStorage(core, result);
            result.number("minimumPartSize", apiVersion == 1 ? core.recommendedPartSize : minimumPartSize);
            JSONObject allowed(result.value("allowed"));
            putAllowed(core, key, allowed, apiVersion);
        }
    }
    return answer;
}

} // namespace localb2
