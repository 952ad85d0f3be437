#include "B2Kit/calls/B2JSONCall.h"
#include "B2Kit/calls/B2PagedWalk.h"
#include "B2Kit/calls/B2WalkGuard.h"
#include "B2Kit/wire/B2Text.h"
#include "B2Kit/wire/JSONObject.h"

#include <algorithm>
#include <utility>

// What the calls on keys do depends on the version of the API. As documented, version 4 knows keys over several buckets
// and nothing else, and the versions before it know all others; but the service has also been seen to serve every key
// through version 4. Here both are right.

namespace {

constexpr std::size_t severalBuckets = 2;

/// Did the service turn the call down because of the version it went to? It does not say so plainly.
bool isVersionRefusal(const B2APIError& refusal)
{
    return (refusal.status == 400 || refusal.status == 401)
        && (refusal.code == "unsupported" || refusal.code == "bad_request");
}

} // namespace

/// A walk through the keys of version 4, then those of version 3 that it has not met.
struct B2Client::KeyWalk {
    std::shared_ptr<B2Client> client;
    std::string_view version = b2APIVersion;
    B2ListKeysRequest request; ///< Of the next page.
    std::set<std::string> seenIDs;
    bool versionFourListsEveryKey = false;
    B2WalkGuard guard;
};

Task<B2CreatedApplicationKey> B2Client::createKey(B2CreateKeyRequest request)
{
    const auto authorization = co_await currentAuthorization();
    const bool isForOneBucket = request.bucketIDs.size() == 1;
    std::vector<std::string> capabilities;
    capabilities.reserve(request.capabilities.size());
    for (const auto& capability : request.capabilities)
        capabilities.push_back(capability.rawValue);
    std::ranges::sort(capabilities);

    JSONObject body;
    body.set("accountId", authorization->accountID)
        .set("capabilities", capabilities)
        .set("keyName", request.keyName)
        .setIfPresent("validDurationInSeconds", request.validDurationInSeconds);
    if (isForOneBucket)
        body.set("bucketId", request.bucketIDs.front());
    else if (!request.bucketIDs.empty())
        body.set("bucketIds", request.bucketIDs);
    body.setIfPresent("namePrefix", request.namePrefix);

    bool mayHaveBeenDone = false;
    auto created = co_await callJSON<B2CreatedApplicationKey>({.operation = "b2_create_key",
        .body = std::move(body).text(),
        .version = isForOneBucket ? b2SingleBucketKeyVersion : b2APIVersion,
        .mayHaveBeenDone = &mayHaveBeenDone});
    // The secret of a key whose answer was lost is lost too, so the retry had to make another one.
    created.mayHaveTwin = mayHaveBeenDone;
    if (mayHaveBeenDone)
        options_.log->warning("keys",
            "An answer to b2_create_key was lost, so there may be a second key named " + oneLine(request.keyName),
            "The key that was received is " + created.key.applicationKeyID + ".");
    co_return created;
}

Task<B2KeysPage> B2Client::listKeys(B2ListKeysRequest request)
{
    return listKeysOf(b2APIVersion, std::move(request), nullptr);
}

Task<B2KeysPage> B2Client::listKeysOf(
    std::string_view version, B2ListKeysRequest request, bool (*expectsRefusal)(const B2APIError&))
{
    const auto authorization = co_await currentAuthorization();
    JSONObject body;
    body.set("accountId", authorization->accountID)
        .set("maxKeyCount", request.maxKeyCount)
        .setIfPresent("startApplicationKeyId", request.startApplicationKeyID);
    co_return co_await callJSON<B2KeysPage>({.operation = "b2_list_keys",
        .body = std::move(body).text(),
        .version = version,
        .expectsRefusal = expectsRefusal});
}

Stream<B2ApplicationKey> B2Client::allKeys(int pageSize)
{
    auto walk = std::make_shared<KeyWalk>();
    walk->client = shared_from_this();
    walk->request.maxKeyCount = pageSize;
    return streamOfPages<B2ApplicationKey>([walk = std::move(walk)] { return fetchKeys(walk); });
}

Task<B2WalkPage<B2ApplicationKey>> B2Client::fetchKeys(std::shared_ptr<KeyWalk> walk)
{
    const bool isVersionFour = walk->version == b2APIVersion;
    // Version 3 can refuse the whole list because of keys that it cannot tell. That loses nothing if version 4 serves
    // every key, which one over fewer than several buckets has proved. Without proof the list would look complete.
    const bool refusalLosesNothing = !isVersionFour && walk->versionFourListsEveryKey;
    B2KeysPage page;
    try {
        page = co_await walk->client->listKeysOf(
            walk->version, walk->request, refusalLosesNothing ? isVersionRefusal : nullptr);
    } catch (const B2Error& error) {
        if (!refusalLosesNothing || !error.api() || !isVersionRefusal(*error.api()))
            throw;
        co_return B2WalkPage<B2ApplicationKey>();
    }
    const auto isOverSeveral = [](const auto& key) { return key.bucketIDs.size() >= severalBuckets; };
    if (isVersionFour && !std::ranges::all_of(page.keys, isOverSeveral))
        walk->versionFourListsEveryKey = true;
    std::erase_if(page.keys, [&walk](const auto& key) { return !walk->seenIDs.insert(key.applicationKeyID).second; });

    auto& start = walk->request.startApplicationKeyID;
    if (page.nextApplicationKeyID) {
        if (start == page.nextApplicationKeyID || !walk->guard.advancesTo(*page.nextApplicationKeyID))
            throw B2Error(B2Error::InvalidResponse{"b2_list_keys: the next page would begin where this one did"});
        start = std::move(page.nextApplicationKeyID);
        co_return B2WalkPage<B2ApplicationKey>{.items = std::move(page.keys), .isLast = false};
    }
    start.reset();
    walk->guard = {};
    walk->version = b2SingleBucketKeyVersion;
    co_return B2WalkPage<B2ApplicationKey>{.items = std::move(page.keys), .isLast = !isVersionFour};
}

Task<B2ApplicationKey> B2Client::deleteKey(std::string applicationKeyID)
{
    bool mayHaveBeenDone = false;
    std::exception_ptr firstRefusal;
    for (const auto version : {b2APIVersion, b2SingleBucketKeyVersion}) {
        const bool isFirst = !firstRefusal;
        JSONObject body;
        body.set("applicationKeyId", applicationKeyID);
        try {
            co_return co_await callJSON<B2ApplicationKey>({.operation = "b2_delete_key",
                .body = std::move(body).text(),
                .version = version,
                .mayHaveBeenDone = &mayHaveBeenDone,
                .expectsRefusal = isFirst ? isVersionRefusal : nullptr});
        } catch (const B2Error& error) {
            // What has another reason than the version says more than the first refusal.
            if (!error.api() || !isVersionRefusal(*error.api()))
                throw;
            if (isFirst)
                firstRefusal = std::current_exception();
        }
    }
    if (!mayHaveBeenDone || co_await isListedKey(applicationKeyID))
        std::rethrow_exception(firstRefusal);
    // The answer of an earlier send was lost, and the key is gone.
    co_return B2ApplicationKey{.applicationKeyID = std::move(applicationKeyID)};
}

Task<bool> B2Client::isListedKey(std::string applicationKeyID)
{
    auto keys = allKeys();
    while (const auto key = co_await keys.next()) {
        if (key->applicationKeyID == applicationKeyID)
            co_return true;
    }
    co_await checkCancelled();
    co_return false;
}
