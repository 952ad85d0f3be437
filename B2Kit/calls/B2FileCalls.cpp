#include "B2Kit/calls/B2JSONCall.h"
#include "B2Kit/wire/JSONObject.h"

#include <algorithm>

Task<B2FileListPage> B2Client::listFileNames(B2ListFileNamesRequest request)
{
    JSONObject body;
    body.set("bucketId", request.bucketID)
        .setIfPresent("startFileName", request.startFileName)
        .set("maxFileCount", request.maxFileCount)
        .setIfPresent("prefix", request.prefix)
        .setIfPresent("delimiter", request.delimiter);
    co_return co_await callJSON<B2FileListPage>({.operation = "b2_list_file_names", .body = std::move(body).text()});
}

Task<B2FileListPage> B2Client::listFileVersions(B2ListFileVersionsRequest request)
{
    JSONObject body;
    body.set("bucketId", request.bucketID)
        .setIfPresent("startFileName", request.startFileName)
        .setIfPresent("startFileId", request.startFileID)
        .set("maxFileCount", request.maxFileCount)
        .setIfPresent("prefix", request.prefix)
        .setIfPresent("delimiter", request.delimiter);
    co_return co_await callJSON<B2FileListPage>({.operation = "b2_list_file_versions", .body = std::move(body).text()});
}

Task<B2FileVersion> B2Client::fileInfo(std::string fileID)
{
    JSONObject body;
    body.set("fileId", fileID);
    co_return co_await callJSON<B2FileVersion>({.operation = "b2_get_file_info", .body = std::move(body).text()});
}

Task<B2DeletedFileVersion> B2Client::deleteFileVersion(B2DeleteFileVersionRequest request)
{
    JSONObject body;
    body.set("fileId", request.fileID).set("fileName", request.fileName);
    if (request.bypassesGovernance)
        body.set("bypassGovernance", true);
    bool mayHaveBeenDone = false;
    try {
        co_return co_await callJSON<B2DeletedFileVersion>({.operation = "b2_delete_file_version",
            .body = std::move(body).text(),
            .mayHaveBeenDone = &mayHaveBeenDone});
    } catch (const B2Error& error) {
        if (!mayHaveBeenDone || !isRefusal(error, "file_not_present"))
            throw;
    }
    // The answer to an earlier attempt was lost, and the version is gone.
    co_return B2DeletedFileVersion{.fileID = std::move(request.fileID), .fileName = std::move(request.fileName)};
}

Task<B2FileVersion> B2Client::hideFile(std::string bucketID, std::string fileName)
{
    JSONObject body;
    body.set("bucketId", bucketID).set("fileName", fileName);
    bool mayHaveBeenDone = false;
    std::exception_ptr refusal;
    try {
        co_return co_await callJSON<B2FileVersion>(
            {.operation = "b2_hide_file", .body = std::move(body).text(), .mayHaveBeenDone = &mayHaveBeenDone});
    } catch (const B2Error& error) {
        if (!mayHaveBeenDone || !isRefusal(error, "already_hidden"))
            throw;
        refusal = std::current_exception();
    }
    // The answer to an earlier attempt was lost: the newest version may be the marker that it created.
    auto page = co_await listFileVersions({.bucketID = bucketID, .startFileName = fileName, .maxFileCount = 1});
    if (page.files.empty() || page.files.front().fileName != fileName || !page.files.front().isHideMarker())
        std::rethrow_exception(refusal);
    co_return std::move(page.files.front());
}

Task<B2LegalHoldResult> B2Client::setLegalHold(B2SetLegalHoldRequest request)
{
    JSONObject body;
    body.set("fileId", request.fileID)
        .set("fileName", request.fileName)
        .set("legalHold", std::string_view(request.isOn ? "on" : "off"));
    co_return co_await callJSON<B2LegalHoldResult>(
        {.operation = "b2_update_file_legal_hold", .body = std::move(body).text()});
}

Task<B2DownloadAuthorization> B2Client::downloadAuthorization(B2DownloadAuthorizationRequest request)
{
    constexpr int longestSeconds = 604800;
    JSONObject body;
    body.set("bucketId", request.bucketID)
        .set("fileNamePrefix", request.fileNamePrefix)
        .set("validDurationInSeconds", std::clamp(request.validDurationInSeconds, 1, longestSeconds));
    co_return co_await callJSON<B2DownloadAuthorization>(
        {.operation = "b2_get_download_authorization", .body = std::move(body).text()});
}
