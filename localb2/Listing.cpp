#include "localb2/Calls.h"

#include "localb2/Encoding.h"

namespace localb2 {

namespace {

constexpr std::int64_t defaultCount = 100;
constexpr std::int64_t highestCount = 10000;
// After this many hidden names a page ends early, so that no other call waits for seconds.
constexpr std::int64_t highestHiddenCount = 50'000;

/// The parameters of both listings.
struct ListingRequest {
    Bucket bucket;
    std::string start;
    std::string prefix;
    std::string delimiter;
    std::int64_t count = defaultCount;
};

ListingRequest listingOf(Call& call)
{
    ListingRequest listing;
    const auto bucketID = call.fields.text("bucketId");
    listing.start = call.fields.optionalText("startFileName").value_or("");
    listing.prefix = call.fields.optionalText("prefix").value_or("");
    listing.delimiter = call.fields.optionalText("delimiter").value_or("");
    listing.count = call.fields.optionalNumber("maxFileCount").value_or(0);
    call.caller.need(Capability::listFiles);
    call.caller.needBucket(bucketID);
    call.caller.needName(listing.prefix);
    if (listing.count < 0)
        throw badRequest("maxFileCount must not be negative");
    if (listing.count > highestCount)
        throw Failure(400, "out_of_range", "maxFileCount is at most " + std::to_string(highestCount));
    if (listing.count == 0)
        listing.count = defaultCount;
    listing.bucket = bucketFor(call.core, call.caller, bucketID);
    return listing;
}

/// Writes rows until the page is full; then remembers where the next one begins.
class Page {
public:
    Page(const ListingRequest& listing, const RecordStyle& style)
        : listing_(listing)
        , style_(style)
    {
        out_ = "{\"files\":[";
    }

    bool isFull() const { return rows_ == listing_.count; }

    void putFile(const FileVersion& version)
    {
        separate();
        appendFileRecord(out_, version, style_);
    }

    void putFolder(std::string_view folder)
    {
        separate();
        appendFolderRecord(out_, folder, style_);
    }

    /// Returns the folder that a name folds into; empty when it has its own row.
    std::string_view folderOf(std::string_view name) const
    {
        if (listing_.delimiter.empty())
            return {};
        const auto found = name.find(listing_.delimiter, listing_.prefix.size());
        return found == std::string_view::npos ? std::string_view() : name.substr(0, found + listing_.delimiter.size());
    }

    std::string finished(const FileVersion* next, bool hasVersions)
    {
        out_ += "],\"nextFileName\":";
        if (next)
            appendQuoted(out_, next->name);
        else
            out_ += "null";
        if (hasVersions) {
            out_ += ",\"nextFileId\":";
            if (next)
                appendQuoted(out_, fileIDOf(listing_.bucket.id, *next));
            else
                out_ += "null";
        }
        out_ += '}';
        return std::move(out_);
    }

private:
    void separate()
    {
        if (rows_++ > 0)
            out_ += ',';
    }

    const ListingRequest& listing_;
    const RecordStyle& style_;
    std::string out_;
    std::int64_t rows_ = 0;
};

bool isPast(const VersionCursor& cursor, std::string_view prefix)
{
    return cursor.isAtEnd() || !cursor.name().starts_with(prefix);
}

} // namespace

std::string listFileNames(Call& call)
{
    const auto listing = listingOf(call);
    const auto style = styleFor(call.core, call.caller, listing.bucket, call.apiVersion);
    Page page(listing, style);
    VersionCursor cursor(call.core.database, listing.bucket.row);
    FileVersion version;
    std::int64_t hiddenNames = 0;
    cursor.seek(std::max(listing.start, listing.prefix));
    while (!isPast(cursor, listing.prefix)) {
        cursor.read(version);
        const bool isShown = version.kind == FileVersion::Kind::upload;
        if ((isShown && page.isFull()) || hiddenNames == highestHiddenCount)
            return page.finished(&version, false);
        if (version.kind == FileVersion::Kind::start) {
            cursor.advance();
            continue;
        }
        if (!isShown) {
            cursor.skipName(version.name);
            ++hiddenNames;
            continue;
        }
        if (const auto folder = page.folderOf(version.name); !folder.empty()) {
            page.putFolder(folder);
            cursor.seekAfterPrefix(folder);
        } else {
            page.putFile(version);
            cursor.skipName(version.name);
        }
    }
    return page.finished(nullptr, false);
}

std::string listFileVersions(Call& call)
{
    const auto listing = listingOf(call);
    const auto startID = call.fields.optionalText("startFileId");
    if (startID && listing.start.empty())
        throw badRequest("startFileId needs startFileName");
    const auto startSequence = startID ? sequenceOf(*startID) : std::nullopt;
    if (startID && !startSequence)
        throw badRequest("Invalid fileId: " + startID->substr(0, 300));
    const auto style = styleFor(call.core, call.caller, listing.bucket, call.apiVersion);
    Page page(listing, style);
    VersionCursor cursor(call.core.database, listing.bucket.row);
    FileVersion version;
    if (listing.start < listing.prefix)
        cursor.seek(listing.prefix);
    else
        cursor.seek(listing.start, startSequence);
    while (!isPast(cursor, listing.prefix)) {
        cursor.read(version);
        if (page.isFull())
            return page.finished(&version, true);
        if (const auto folder = page.folderOf(version.name); !folder.empty()) {
            page.putFolder(folder);
            cursor.seekAfterPrefix(folder);
        } else {
            page.putFile(version);
            cursor.advance();
        }
    }
    return page.finished(nullptr, true);
}

} // namespace localb2
