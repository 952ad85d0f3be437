#include "B2Kit/calls/B2AccountKeys.h"

#include "B2Kit/B2Client.h"
#include "B2Kit/B2Error.h"
#include "B2Kit/calls/B2PagedWalk.h"
#include "B2Kit/calls/B2WalkGuard.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <set>
#include <utility>

namespace {

constexpr std::size_t severalBuckets = 2;

/// Did the service refuse the call because of its version? It does not say so plainly.
bool isVersionRefusal(const B2APIError& refusal)
{
    return (refusal.status == 400 || refusal.status == 401)
        && (refusal.code == "unsupported" || refusal.code == "bad_request");
}

/// A walk through the keys of version 4, then those of version 3 that it has not met.
struct KeyWalk {
    std::shared_ptr<B2Client> client;
    B2ListKeysRequest request; ///< Of the next page.
    std::set<std::string> seenIDs;
    bool versionFourListsEveryKey = false;
    B2WalkGuard guard;
};

Task<B2WalkPage<B2ApplicationKey>> nextKeys(std::shared_ptr<KeyWalk> walk)
{
    auto& request = walk->request;
    const bool isVersionFour = request.api == B2KeyAPI::version4;
    // Version 3 can refuse the whole list because of keys that it cannot describe. That loses nothing if version 4
    // serves every key, as any key for fewer than two buckets in its list proves. Without that proof the list would
    // look complete.
    const bool refusalLosesNothing = !isVersionFour && walk->versionFourListsEveryKey;
    request.expectsRefusal = refusalLosesNothing ? isVersionRefusal : nullptr;
    B2KeysPage page;
    try {
        page = co_await walk->client->listKeys(request);
    } catch (const B2Error& error) {
        if (!refusalLosesNothing || !error.api() || !isVersionRefusal(*error.api()))
            throw;
        co_return B2WalkPage<B2ApplicationKey>();
    }
    const auto isOverSeveral = [](const auto& key) { return key.bucketIDs.size() >= severalBuckets; };
    if (isVersionFour && !std::ranges::all_of(page.keys, isOverSeveral))
        walk->versionFourListsEveryKey = true;
    std::erase_if(page.keys, [&walk](const auto& key) { return !walk->seenIDs.insert(key.applicationKeyID).second; });

    auto& start = request.startApplicationKeyID;
    if (page.nextApplicationKeyID) {
        if (start == page.nextApplicationKeyID || !walk->guard.advancesTo(*page.nextApplicationKeyID))
            throw B2Error(B2Error::InvalidResponse{"b2_list_keys: the next page would begin where this one did"});
        start = std::move(page.nextApplicationKeyID);
        co_return B2WalkPage<B2ApplicationKey>{.items = std::move(page.keys), .isLast = false};
    }
    start.reset();
    walk->guard = {};
    request.api = B2KeyAPI::version3;
    co_return B2WalkPage<B2ApplicationKey>{.items = std::move(page.keys), .isLast = !isVersionFour};
}

Task<bool> isListedKey(std::shared_ptr<B2Client> client, std::string applicationKeyID)
{
    auto keys = allKeys(std::move(client));
    while (const auto key = co_await keys.next()) {
        if (key->applicationKeyID == applicationKeyID)
            co_return true;
    }
    co_await checkCancelled();
    co_return false;
}

} // namespace

Stream<B2ApplicationKey> allKeys(std::shared_ptr<B2Client> client, int pageSize)
{
    auto walk = std::make_shared<KeyWalk>();
    walk->client = std::move(client);
    walk->request.maxKeyCount = pageSize;
    return streamOfPages<B2ApplicationKey>([walk = std::move(walk)] { return nextKeys(walk); });
}

Task<B2ApplicationKey> deleteAccountKey(std::shared_ptr<B2Client> client, std::string applicationKeyID)
{
    bool mayHaveBeenDone = false;
    std::exception_ptr firstRefusal;
    for (const auto api : {B2KeyAPI::version4, B2KeyAPI::version3}) {
        const bool isFirst = !firstRefusal;
        B2DeleteKeyRequest request{.applicationKeyID = applicationKeyID,
            .api = api,
            .expectsRefusal = isFirst ? isVersionRefusal : nullptr,
            .mayHaveBeenDone = &mayHaveBeenDone};
        try {
            co_return co_await client->deleteKey(std::move(request));
        } catch (const B2Error& error) {
            // A refusal for another reason than the version says more than the first refusal.
            if (!error.api() || !isVersionRefusal(*error.api()))
                throw;
            if (isFirst)
                firstRefusal = std::current_exception();
        }
    }
    if (!mayHaveBeenDone || co_await isListedKey(client, applicationKeyID))
        std::rethrow_exception(firstRefusal);
    // The answer to an earlier attempt was lost, and the key is gone.
    co_return B2ApplicationKey{.applicationKeyID = std::move(applicationKeyID)};
}
