#include "B2Kit/B2Client.h"
#include "B2Kit/B2Error.h"
#include "B2Kit/calls/B2PagedWalk.h"
#include "B2Kit/calls/B2WalkGuard.h"
#include "B2Kit/wire/B2Text.h"

namespace {

/// The position of a walk through a listing.
struct FileWalk {
    std::shared_ptr<B2Client> client;
    std::string_view operation;
    B2ListFileVersionsRequest request; ///< Of the next page.
    bool listsVersions = false;
    B2WalkGuard guard; ///< Over the ids within one name.
};

/// Takes the page's cursor for the next request.
///
/// Names ascend by their bytes, so a cursor that does not ascend is invalid. The versions of one name have no order
/// that their ids would show, so there the guard notices when the same id comes again.
void follow(FileWalk& walk, const B2FileListPage& page)
{
    if (!page.nextFileName)
        return;
    auto& request = walk.request;
    const auto& name = *page.nextFileName;
    const bool staysInName = request.startFileName && name == *request.startFileName;
    if (!staysInName)
        walk.guard = {};
    const bool advances = staysInName ? walk.listsVersions && page.nextFileID && request.startFileID != page.nextFileID
            && walk.guard.advancesTo(*page.nextFileID)
                                      : !request.startFileName || name > *request.startFileName;
    if (!advances) {
        constexpr std::size_t longestQuoted = 200;
        throw B2Error(B2Error::InvalidResponse{std::string(walk.operation)
            + ": the next page would begin at or before this one, at " + clipped(oneLine(name), longestQuoted)});
    }
    request.startFileName = name;
    request.startFileID = walk.listsVersions ? page.nextFileID : std::nullopt;
}

Task<B2FileListPage> fetchPage(const FileWalk& walk)
{
    if (walk.listsVersions)
        co_return co_await walk.client->listFileVersions(walk.request);
    B2ListFileNamesRequest request{.bucketID = walk.request.bucketID,
        .startFileName = walk.request.startFileName,
        .maxFileCount = walk.request.maxFileCount,
        .prefix = walk.request.prefix,
        .delimiter = walk.request.delimiter};
    co_return co_await walk.client->listFileNames(std::move(request));
}

Task<B2WalkPage<B2FileVersion>> nextPage(std::shared_ptr<FileWalk> walk)
{
    auto page = co_await fetchPage(*walk);
    follow(*walk, page);
    co_return B2WalkPage<B2FileVersion>{.items = std::move(page.files), .isLast = !page.nextFileName};
}

Stream<B2FileVersion> streamOf(std::shared_ptr<FileWalk> walk)
{
    return streamOfPages<B2FileVersion>([walk = std::move(walk)] { return nextPage(walk); });
}

} // namespace

Stream<B2FileVersion> B2Client::allFileNames(B2ListFileNamesRequest request)
{
    auto walk = std::make_shared<FileWalk>();
    walk->client = shared_from_this();
    walk->operation = "b2_list_file_names";
    walk->request = {.bucketID = std::move(request.bucketID),
        .startFileName = std::move(request.startFileName),
        .maxFileCount = request.maxFileCount,
        .prefix = std::move(request.prefix),
        .delimiter = std::move(request.delimiter)};
    return streamOf(std::move(walk));
}

Stream<B2FileVersion> B2Client::allFileVersions(B2ListFileVersionsRequest request)
{
    auto walk = std::make_shared<FileWalk>();
    walk->client = shared_from_this();
    walk->operation = "b2_list_file_versions";
    walk->request = std::move(request);
    walk->listsVersions = true;
    return streamOf(std::move(walk));
}
