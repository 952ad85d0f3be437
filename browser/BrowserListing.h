#pragma once

#include "accounts/B2Session.h"
#include "browser/ListingCache.h"
#include "browser/RowOrder.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

/// Where the next page of a listing begins; without a name there is none.
struct ListingPosition {
    std::optional<std::string> name;
    std::optional<std::string> id; ///< Only in a listing of versions.
};

/// Which rows of a folder to list.
struct ListingRequest {
    std::shared_ptr<B2Session> session;
    ListingCache::Key key;
    ListingPosition start;
    /// Pages are fetched until there are at least so many rows; one page in any case.
    std::size_t wantedRows = 0;
    Arrangement before; ///< The rows that the pages follow, with the mode and the order.
};

struct ListedRows {
    Arrangement rows; ///< Those of `before` and the new ones.
    ListingPosition next;
};

/// Lists a folder page by page (`b2_list_file_names`, or `b2_list_file_versions` for all versions; one call for each
/// thousand rows), and sorts the rows on a worker. Resumes on the caller's executor.
///
/// @throws B2Error when a page is refused, or repeats its own start.
Task<ListedRows> listRows(ListingRequest request);
