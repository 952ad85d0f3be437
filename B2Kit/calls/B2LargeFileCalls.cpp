#include "B2Kit/calls/B2JSONCall.h"
#include "B2Kit/calls/B2PagedWalk.h"
#include "B2Kit/calls/B2WalkGuard.h"
#include "B2Kit/pipeline/B2ClientTools.h"
#include "B2Kit/uploads/B2PartPlan.h"
#include "B2Kit/wire/B2Text.h"
#include "B2Kit/wire/JSONObject.h"
#include "async/Cancelled.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace {

std::string fileBody(const std::string& fileID)
{
    JSONObject body;
    body.set("fileId", fileID);
    return std::move(body).text();
}

/// The position of a walk through the unfinished large files.
struct UnfinishedWalk {
    std::shared_ptr<B2Client> client;
    B2ListUnfinishedLargeFilesRequest request; ///< Of the next page.
    B2WalkGuard guard;
};

Task<B2WalkPage<B2FileVersion>> nextPage(std::shared_ptr<UnfinishedWalk> walk)
{
    auto page = co_await walk->client->listUnfinishedLargeFiles(walk->request);
    const auto& next = page.nextFileID;
    if (next && !walk->guard.advancesTo(*next)) {
        constexpr std::size_t longestQuoted = 200;
        throw B2Error(B2Error::InvalidResponse{"b2_list_unfinished_large_files: the pages go round in a circle, at "
            + clipped(oneLine(*next), longestQuoted)});
    }
    walk->request.startFileID = next;
    co_return B2WalkPage<B2FileVersion>{.items = std::move(page.files), .isLast = !next};
}

} // namespace

Task<B2FileVersion> B2Client::startLargeFile(B2StartLargeFileRequest request)
{
    JSONObject body;
    body.set("bucketId", request.bucketID)
        .set("fileName", request.fileName)
        .set("contentType", request.contentType)
        .set("fileInfo", request.fileInfo);
    co_return co_await callJSON<B2FileVersion>({.operation = "b2_start_large_file", .body = std::move(body).text()});
}

Task<B2UploadPartTarget> B2Client::uploadPartURL(std::string fileID)
{
    auto target =
        co_await callJSON<B2UploadPartTarget>({.operation = "b2_get_upload_part_url", .body = fileBody(fileID)});
    requireTrustedURL(target.uploadURL);
    co_return target;
}

Task<B2FileVersion> B2Client::finishLargeFile(std::string fileID, std::vector<std::string> partSHA1s)
{
    JSONObject body;
    body.set("fileId", fileID).set("partSha1Array", partSHA1s);
    bool mayHaveBeenDone = false;
    std::exception_ptr failure;
    try {
        co_return co_await callJSON<B2FileVersion>(
            {.operation = "b2_finish_large_file", .body = std::move(body).text(), .mayHaveBeenDone = &mayHaveBeenDone});
    } catch (const Cancelled&) {
        throw;
    } catch (const B2Error& error) {
        // An unreadable answer means that the work was done.
        const bool isUnreadable = std::holds_alternative<B2Error::InvalidResponse>(error.which());
        if (!mayHaveBeenDone && !isUnreadable && !(error.api() && error.api()->isRetryable()))
            throw;
        failure = std::current_exception();
    } catch (...) {
        if (!mayHaveBeenDone)
            throw;
        failure = std::current_exception();
    }
    auto finished = co_await finishedLargeFile(fileID);
    if (!finished)
        std::rethrow_exception(failure);
    tools_->log->notice("transfer",
        oneLine(finished->fileName) + ": the answer of b2_finish_large_file was lost, but the file is there");
    co_return std::move(*finished);
}

Task<std::optional<B2FileVersion>> B2Client::finishedLargeFile(std::string fileID)
{
    std::string reason;
    try {
        auto version = co_await fileInfo(fileID);
        if (version.action.rawValue == "upload")
            co_return version;
        co_return std::nullopt;
    } catch (const Cancelled&) {
        throw;
    } catch (const B2Error& error) {
        constexpr int notFound = 404;
        if (error.api() && error.api()->status == notFound)
            co_return std::nullopt;
        reason = error.what();
    } catch (const std::exception& error) {
        reason = error.what();
    }
    // Another upload could store the file twice.
    throw B2Error(B2Error::InvalidResponse{fmt::format(
        "B2 did not say whether large file {} was finished ({}). Check whether the file is there before you "
        "send it again.",
        fileID, reason)});
}

Task<B2CancelledLargeFile> B2Client::cancelLargeFile(std::string fileID)
{
    bool mayHaveBeenDone = false;
    std::exception_ptr refusal;
    try {
        co_return co_await callJSON<B2CancelledLargeFile>(
            {.operation = "b2_cancel_large_file", .body = fileBody(fileID), .mayHaveBeenDone = &mayHaveBeenDone});
    } catch (const B2Error& error) {
        if (!mayHaveBeenDone || !isRefusal(error, "bad_request"))
            throw;
        refusal = std::current_exception();
    }
    // The answer to an earlier attempt was lost: the file may be gone.
    try {
        co_await fileInfo(fileID);
    } catch (const B2Error& error) {
        if (error.api() && error.api()->status == 404)
            co_return B2CancelledLargeFile{.fileID = std::move(fileID)};
    }
    std::rethrow_exception(refusal);
}

Task<B2PartsPage> B2Client::listParts(std::string fileID, std::optional<int> startPartNumber)
{
    constexpr int maxPartCount = 1000;
    JSONObject body;
    body.set("fileId", fileID).setIfPresent("startPartNumber", startPartNumber).set("maxPartCount", maxPartCount);
    co_return co_await callJSON<B2PartsPage>({.operation = "b2_list_parts", .body = std::move(body).text()});
}

Task<std::vector<B2Part>> B2Client::allParts(std::string fileID)
{
    std::vector<B2Part> parts;
    std::optional<int> start;
    for (;;) {
        auto page = co_await listParts(fileID, start);
        std::ranges::move(page.parts, std::back_inserter(parts));
        const auto next = page.nextPartNumber;
        // A page that does not lead on would be read for ever.
        if (!next || *next <= start.value_or(1) || *next > B2LargeFileLimits::maxPartCount)
            co_return parts;
        start = next;
    }
}

Task<B2UnfinishedLargeFilesPage> B2Client::listUnfinishedLargeFiles(B2ListUnfinishedLargeFilesRequest request)
{
    constexpr int mostFiles = 100;
    JSONObject body;
    body.set("bucketId", request.bucketID)
        .setIfPresent("namePrefix", request.namePrefix)
        .setIfPresent("startFileId", request.startFileID)
        .set("maxFileCount", std::min(request.maxFileCount, mostFiles));
    co_return co_await callJSON<B2UnfinishedLargeFilesPage>(
        {.operation = "b2_list_unfinished_large_files", .body = std::move(body).text()});
}

Stream<B2FileVersion> B2Client::allUnfinishedLargeFiles(B2ListUnfinishedLargeFilesRequest request)
{
    auto walk = std::make_shared<UnfinishedWalk>();
    walk->client = shared_from_this();
    walk->request = std::move(request);
    return streamOfPages<B2FileVersion>([walk = std::move(walk)] { return nextPage(walk); });
}
