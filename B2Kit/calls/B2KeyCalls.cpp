#include "B2Kit/calls/B2JSONCall.h"
#include "B2Kit/pipeline/B2ClientTools.h"
#include "B2Kit/wire/B2Text.h"
#include "B2Kit/wire/JSONObject.h"

#include <algorithm>
#include <utility>

namespace {

std::string_view versionOf(B2KeyAPI api)
{
    return api == B2KeyAPI::version3 ? b2SingleBucketKeyVersion : b2APIVersion;
}

} // namespace

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
        .version = versionOf(isForOneBucket ? B2KeyAPI::version3 : B2KeyAPI::version4),
        .mayHaveBeenDone = &mayHaveBeenDone});
    // A lost answer takes the secret of its key with it, so the retry had to create another key.
    created.mayHaveTwin = mayHaveBeenDone;
    if (mayHaveBeenDone)
        tools_->log->warning("keys",
            "An answer to b2_create_key was lost, so there may be a second key named " + oneLine(request.keyName),
            "The key that was received is " + created.key.applicationKeyID + ".");
    co_return created;
}

Task<B2KeysPage> B2Client::listKeys(B2ListKeysRequest request)
{
    const auto authorization = co_await currentAuthorization();
    JSONObject body;
    body.set("accountId", authorization->accountID)
        .set("maxKeyCount", request.maxKeyCount)
        .setIfPresent("startApplicationKeyId", request.startApplicationKeyID);
    co_return co_await callJSON<B2KeysPage>({.operation = "b2_list_keys",
        .body = std::move(body).text(),
        .version = versionOf(request.api),
        .expectsRefusal = request.expectsRefusal});
}

Task<B2ApplicationKey> B2Client::deleteKey(B2DeleteKeyRequest request)
{
    JSONObject body;
    body.set("applicationKeyId", request.applicationKeyID);
    co_return co_await callJSON<B2ApplicationKey>({.operation = "b2_delete_key",
        .body = std::move(body).text(),
        .version = versionOf(request.api),
        .mayHaveBeenDone = request.mayHaveBeenDone,
        .expectsRefusal = request.expectsRefusal});
}
