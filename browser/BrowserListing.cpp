#include "browser/BrowserListing.h"

#include "B2Kit/B2Error.h"
#include "browser/RowWorker.h"

#include <utility>

namespace {

constexpr int pageSize = 1000;

Task<B2FileListPage> askForPage(
    std::shared_ptr<B2Client> client, ListingCache::Key key, BrowserMode mode, ListingPosition start)
{
    const auto prefix = key.prefix.empty() ? std::optional<std::string>() : key.prefix;
    B2FileListPage page;
    if (mode == BrowserMode::current) {
        B2ListFileNamesRequest names{.bucketID = key.bucketID,
            .startFileName = start.name,
            .maxFileCount = pageSize,
            .prefix = prefix,
            .delimiter = "/"};
        page = co_await client->listFileNames(std::move(names));
    } else {
        B2ListFileVersionsRequest versions{.bucketID = key.bucketID,
            .startFileName = start.name,
            .startFileID = start.id,
            .maxFileCount = pageSize,
            .prefix = prefix,
            .delimiter = "/"};
        page = co_await client->listFileVersions(std::move(versions));
    }
    // A service that repeats a page would make the folder endless.
    if (page.nextFileName && page.nextFileName == start.name && page.nextFileID == start.id)
        throw B2Error(B2Error::InvalidResponse{"The listing does not go on after \"" + *start.name + "\""});
    co_return page;
}

} // namespace

Task<ListedRows> listRows(ListingRequest request)
{
    ListedRows listed{std::move(request.before), std::move(request.start)};
    do {
        auto page = co_await askForPage(request.session->client, request.key, listed.rows.mode, listed.next);
        auto rows = co_await addPage(RowWorker::shared(), std::move(listed.rows), std::move(page.files));
        listed = ListedRows{std::move(rows), {std::move(page.nextFileName), std::move(page.nextFileID)}};
    } while (listed.next.name && listed.rows.entries.size() < request.wantedRows);
    co_return listed;
}
