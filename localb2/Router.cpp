#include "localb2/Router.h"

#include "localb2/Calls.h"
#include "localb2/Control.h"
#include "localb2/Encoding.h"

#include <unordered_map>

namespace localb2 {

namespace {

using Handler = std::string (*)(Call&);

const std::unordered_map<std::string_view, Handler> handlers = {
    {"b2_create_bucket", createBucket},
    {"b2_update_bucket", updateBucket},
    {"b2_delete_bucket", deleteBucket},
    {"b2_list_buckets", listBuckets},
    {"b2_list_file_names", listFileNames},
    {"b2_list_file_versions", listFileVersions},
    {"b2_get_file_info", getFileInfo},
    {"b2_hide_file", hideFile},
    {"b2_delete_file_version", deleteFileVersion},
    {"b2_get_download_authorization", getDownloadAuthorization},
    {"b2_update_file_legal_hold", updateFileLegalHold},
    {"b2_update_file_retention", updateFileRetention},
    {"b2_create_key", createKey},
    {"b2_list_keys", listKeys},
    {"b2_delete_key", deleteKey},
    {"b2_get_upload_url", getUploadURL},
    {"b2_start_large_file", startLargeFile},
    {"b2_get_upload_part_url", getUploadPartURL},
    {"b2_finish_large_file", finishLargeFile},
    {"b2_cancel_large_file", cancelLargeFile},
    {"b2_list_parts", listParts},
    {"b2_list_unfinished_large_files", listUnfinishedLargeFiles},
};

std::string_view takeSegment(std::string_view& path)
{
    const auto end = std::min(path.find('/'), path.size());
    const auto segment = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    return segment;
}

Route::Kind kindOf(std::string_view operation)
{
    if (operation == "b2_authorize_account")
        return Route::Kind::authorize;
    if (operation == "b2_upload_file")
        return Route::Kind::uploadFile;
    if (operation == "b2_upload_part")
        return Route::Kind::uploadPart;
    if (operation == "b2_copy_file" || operation == "b2_copy_part")
        return Route::Kind::copy;
    if (operation == "b2_download_file_by_id")
        return Route::Kind::downloadByID;
    return handlers.contains(operation) ? Route::Kind::call : Route::Kind::unknown;
}

Answer serveCall(Core& core, const Request& request, const Route& route)
{
    const std::scoped_lock lock(core.mutex);
    auto caller = callerOf(core, tokenOf(request), Token::Kind::account);
    Call call{core, request, route.apiVersion, std::move(caller), Fields(request)};
    return {.body = handlers.at(route.operation)(call)};
}

void checkMethod(const Request& request, const Route& route)
{
    const bool isGet = request.method == "GET";
    const bool isPost = request.method == "POST";
    const bool isDownload = route.kind == Route::Kind::downloadByName || route.kind == Route::Kind::downloadByID;
    const bool isAllowed = route.isUpload() ? isPost
        : isDownload                        ? isGet || isPost || request.method == "HEAD"
                                            : isGet || isPost;
    if (!isAllowed)
        throw Failure(405, "method_not_allowed", "Method " + request.method + " is not allowed here");
}

} // namespace

void Call::needOwnAccount() const
{
    if (fields.text("accountId") != caller.accountID())
        throw badRequest("accountId invalid");
}

Route routeOf(std::string_view path)
{
    Route route;
    if (!path.starts_with('/'))
        return route;
    path.remove_prefix(1);
    const auto first = takeSegment(path);
    if (first == "_local") {
        route.kind = Route::Kind::control;
        route.operation = "_local";
        route.second = path;
    } else if (first == "file") {
        const auto bucket = percentDecoded(takeSegment(path));
        const auto name = percentDecoded(path);
        route.operation = "b2_download_file_by_name";
        if (!bucket || !name)
            return route;
        route.kind = Route::Kind::downloadByName;
        route.first = *bucket;
        route.second = *name;
    } else if (first == "b2api") {
        const auto version = takeSegment(path);
        route.operation = takeSegment(path);
        if (version.size() != 2 || version[0] != 'v' || version[1] < '1' || version[1] > '4')
            return route;
        route.apiVersion = version[1] - '0';
        route.kind = kindOf(route.operation);
        route.first = takeSegment(path);
    }
    return route;
}

Answer serve(Core& core, const Request& request, const Route& route)
{
    if (route.kind == Route::Kind::unknown)
        throw Failure(404, "not_found", "Unknown path: " + request.path.substr(0, 300));
    if (route.kind == Route::Kind::control)
        return serveControl(core, request, route.second);
    checkMethod(request, route);
    switch (route.kind) {
    case Route::Kind::authorize:
        return authorizeAccount(core, request, route.apiVersion);
    case Route::Kind::uploadFile:
        return uploadFile(core, request, route.first, route.apiVersion);
    case Route::Kind::uploadPart:
        return uploadPart(core, request, route.first);
    case Route::Kind::copy:
        return route.operation == "b2_copy_file" ? copyFile(core, request, route.apiVersion) : copyPart(core, request);
    case Route::Kind::downloadByName:
        return downloadByName(core, request, route.first, route.second);
    case Route::Kind::downloadByID:
        return downloadByID(core, request);
    case Route::Kind::call:
    case Route::Kind::control:
    case Route::Kind::unknown:
        break;
    }
    return serveCall(core, request, route);
}

} // namespace localb2
