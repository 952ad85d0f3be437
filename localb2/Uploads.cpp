#include "localb2/Calls.h"

#include "localb2/Encoding.h"
#include "localb2/FileTraits.h"
#include "localb2/Receiving.h"

#include <fmt/format.h>

namespace localb2 {

std::string getUploadURL(Call& call)
{
    const auto bucketID = call.fields.text("bucketId");
    call.caller.need(Capability::writeFiles);
    const auto bucket = bucketFor(call.core, call.caller, bucketID);
    const auto token = call.core.tokens.add({.kind = Token::Kind::upload,
                                                .keyID = call.caller.key().id,
                                                .expires = call.core.now() + day,
                                                .target = bucket.id},
        call.core.now());
    std::string out;
    {
        JSONObject result(out);
        result.text("authorizationToken", token);
        result.text("bucketId", bucket.id);
        result.text("uploadUrl",
            fmt::format("{}/b2api/v{}/b2_upload_file/{}/c004_v0001112_t{:04}", call.core.baseURL, call.apiVersion,
                bucket.id, call.core.now() % 60));
    }
    return out;
}

Answer uploadFile(Core& core, const Request& request, std::string_view bucketID, int apiVersion)
{
    std::unique_lock lock(core.mutex);
    UploadTurn turn(core, lock, request, Token::Kind::upload, bucketID);
    try {
        const auto& caller = turn.caller();
        const auto traits = traitsOfUpload(request);
        const auto hash = hashOfUpload(request);
        const auto length = lengthOfUpload(request, hash);
        caller.need(Capability::writeFiles);
        caller.needName(traits.name);
        const auto bucket = bucketFor(core, caller, bucketID);
        auto version = versionWith(core, caller, bucket, traits);
        checkTestMode(core, request);
        lock.unlock();

        BodyWriter writer(core.bodies);
        const auto hashShown = receive(request, hash, length, writer);

        lock.lock();
        // The bucket may have been deleted while the body arrived.
        bucketFor(core, caller, bucketID);
        Change change(core);
        version.length = length;
        version.sha1 = hashShown;
        version.md5 = writer.hashes().md5;
        version.body = core.bodies.store(writer);
        core.versions.insert(version);
        change.commit();
        turn.keep();
        Answer answer;
        appendFileRecord(answer.body, version, styleFor(core, caller, bucket, apiVersion));
        return answer;
    } catch (const Failure& failure) {
        if (failure.status == 400 || failure.status == 403)
            turn.keep();
        throw;
    }
}

} // namespace localb2
