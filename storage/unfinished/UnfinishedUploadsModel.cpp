#include "storage/unfinished/UnfinishedUploadsModel.h"

#include "B2Kit/B2Client.h"
#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "foundation/Texts.h"
#include "foundation/log/ActivityLog.h"
#include "storage/unfinished/UnfinishedUploadTexts.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace {

using Item = UnfinishedUploadsModel::Item;

const std::string& fileIDOf(const Item& item)
{
    static const std::string none;
    return item.file.fileID ? *item.file.fileID : none;
}

struct StoredParts {
    std::int64_t bytes = 0;
    int count = 0;
};

Task<StoredParts> storedParts(std::shared_ptr<B2Client> client, std::string fileID)
{
    const auto parts = co_await client->allParts(std::move(fileID));
    StoredParts stored{.count = static_cast<int>(parts.size())};
    for (const auto& part : parts)
        stored.bytes += part.contentLength;
    co_return stored;
}

} // namespace

std::int64_t storedBytesOf(const std::vector<Item>& items)
{
    std::int64_t sum = 0;
    for (const auto& item : items)
        sum += item.storedBytes.value_or(0);
    return sum;
}

UnfinishedUploadsModel::UnfinishedUploadsModel(ActivityLog& log, QObject* parent)
    : SessionModel(parent)
    , log_(log)
{
}

void UnfinishedUploadsModel::open(std::shared_ptr<B2Session> newSession, B2Bucket newBucket)
{
    if (*session == newSession && *bucket && (*bucket)->bucketID == newBucket.bucketID)
        return;
    reset(std::move(newSession));
    bucket = std::move(newBucket);
}

void UnfinishedUploadsModel::clear()
{
    stop();
    items = {};
    error = std::nullopt;
    hasLoaded = false;
    bucket = std::nullopt;
}

std::optional<std::string> UnfinishedUploadsModel::cancelRefusal() const
{
    if (*session && (*session)->may(B2Capabilities::writeFiles))
        return std::nullopt;
    return "This key cannot cancel uploads: it lacks writeFiles";
}

UnfinishedUploadsModel::Target UnfinishedUploadsModel::begin()
{
    stop();
    error = std::nullopt;
    isLoading = true;
    return {ticket(), **bucket};
}

void UnfinishedUploadsModel::stop()
{
    outdateTickets();
    cancelled_.clear();
    if (running_)
        running_->cancel();
    running_.reset();
    isLoading = false;
}

void UnfinishedUploadsModel::load()
{
    if (!*session || !*bucket)
        return;
    if (!(*session)->may(B2Capabilities::listFiles)) {
        const std::string reason =
            "This key does not permit listFiles, so billed unfinished large files cannot be surfaced.";
        log_.record({B2LogLevel::warning, "bucket", "Cannot check " + (*bucket)->bucketName + " for abandoned uploads",
            reason});
        error = reason;
        return;
    }
    running_ = tasks_.start(runLoad(this, begin()));
}

void UnfinishedUploadsModel::refreshSizes()
{
    if (*session && *bucket && !*isLoading)
        running_ = tasks_.start(runRefresh(this, begin()));
}

void UnfinishedUploadsModel::cancel(const Item& item)
{
    if (!*session || !*bucket || cancelRefusal())
        return;
    const auto known = std::ranges::find(*items, fileIDOf(item), fileIDOf);
    if (known == items->end() || known->isCancelling)
        return;
    changeItem(fileIDOf(item), [](Item& changed) { changed.isCancelling = true; });
    error = std::nullopt;
    tasks_.start(runCancel(this, {{.session = *session}, **bucket}, item));
}

Task<> UnfinishedUploadsModel::runLoad(QPointer<UnfinishedUploadsModel> model, Target target)
{
    const auto inFlight = [&] { return model->inFlightFileIDs ? model->inFlightFileIDs() : std::set<std::string>(); };
    if (!model || !model->isCurrent(target))
        co_return;
    // Asked before the listing for uploads that end during it, and after it for those that begin.
    auto running = inFlight();
    std::vector<B2FileVersion> files;
    std::exception_ptr failure;
    try {
        B2ListUnfinishedLargeFilesRequest request{
            .bucketID = target.bucket.bucketID, .namePrefix = target.session->authorization.storage.allowed.namePrefix};
        auto unfinished = target.session->client->allUnfinishedLargeFiles(std::move(request));
        while (auto file = co_await unfinished.next())
            files.push_back(std::move(*file));
    } catch (...) {
        failure = std::current_exception();
    }
    if (!model || !model->isCurrent(target))
        co_return;
    if (failure) {
        model->isLoading = false;
        model->fail(target, "Could not check " + target.bucket.bucketName + " for abandoned uploads", failure, {});
        co_return;
    }
    running.merge(inFlight());
    const auto leftOut =
        std::erase_if(files, [&](const B2FileVersion& file) { return !file.fileID || running.contains(*file.fileID); });
    model->show(std::move(files));
    co_await readSizes(model, target);
    if (!model || !model->isCurrent(target))
        co_return;
    model->hasLoaded = true;
    model->isLoading = false;
    model->logOutcome(target, leftOut);
}

Task<> UnfinishedUploadsModel::runRefresh(QPointer<UnfinishedUploadsModel> model, Target target)
{
    co_await readSizes(model, target);
    if (model && model->isCurrent(target))
        model->isLoading = false;
}

Task<> UnfinishedUploadsModel::readSizes(QPointer<UnfinishedUploadsModel> model, Target target)
{
    std::vector<std::string> fileIDs;
    if (model && model->isCurrent(target))
        std::ranges::transform(*model->items, std::back_inserter(fileIDs), fileIDOf);
    for (const auto& fileID : fileIDs) {
        std::optional<StoredParts> stored;
        try {
            stored = co_await storedParts(target.session->client, fileID);
        } catch (const std::exception&) {
            // The others are read all the same. A cancellation ends the loop below.
        }
        co_await checkCancelled();
        if (!model || !model->isCurrent(target))
            co_return;
        model->changeItem(fileID, [&](Item& item) {
            item.storedBytes = stored ? std::optional(stored->bytes) : std::nullopt;
            item.partCount = stored ? std::optional(stored->count) : std::nullopt;
        });
    }
}

Task<> UnfinishedUploadsModel::runCancel(QPointer<UnfinishedUploadsModel> model, Target target, Item item)
{
    const auto fileID = fileIDOf(item);
    std::exception_ptr failure;
    try {
        co_await target.session->client->cancelLargeFile(fileID);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!model)
        co_return;
    if (failure) {
        if (model->isOpen(target))
            model->changeItem(fileID, [](Item& changed) { changed.isCancelling = false; });
        const auto message = "Failed to cancel the unfinished upload of " + singleLine(item.file.fileName);
        model->fail(target, message, failure, message + ". ");
        co_return;
    }
    if (model->didCancel)
        model->didCancel(target.bucket.bucketID, fileID);
    model->log_.record(
        {B2LogLevel::warning, "bucket", "Cancelled the unfinished upload of " + singleLine(item.file.fileName),
            storedText(item) + ". Large file " + fileID + ". The upload can no longer be resumed."});
    if (!model->isOpen(target))
        co_return;
    model->cancelled_.insert(fileID);
    model->items.update(
        [&](auto& all) { std::erase_if(all, [&](const Item& row) { return fileIDOf(row) == fileID; }); });
}

bool UnfinishedUploadsModel::isOpen(const Target& target) const
{
    return *session == target.session && *bucket && (*bucket)->bucketID == target.bucket.bucketID;
}

void UnfinishedUploadsModel::show(std::vector<B2FileVersion> files)
{
    // Known sizes stay until they are read again.
    std::unordered_map<std::string_view, const Item*> known;
    for (const auto& item : *items)
        known.emplace(fileIDOf(item), &item);
    std::vector<Item> shown;
    shown.reserve(files.size());
    for (auto& file : files) {
        if (cancelled_.contains(*file.fileID))
            continue;
        const auto before = known.find(*file.fileID);
        shown.push_back(before == known.end() ? Item{} : *before->second);
        shown.back().file = std::move(file);
    }
    items = std::move(shown);
}

void UnfinishedUploadsModel::changeItem(const std::string& fileID, const std::function<void(Item&)>& change)
{
    const auto found = std::ranges::find(*items, fileID, fileIDOf);
    if (found == items->end())
        return;
    const auto index = found - items->begin();
    items.update([&](auto& all) { change(all[static_cast<std::size_t>(index)]); });
}

void UnfinishedUploadsModel::logOutcome(const Target& target, std::size_t leftOut)
{
    const auto& name = target.bucket.bucketName;
    std::string message = "No abandoned uploads in " + name;
    if (!items->empty()) {
        const auto bytes = storedBytesOf(*items);
        message = countText(static_cast<std::int64_t>(items->size()), "abandoned upload", "abandoned uploads") + " in "
            + name + (bytes > 0 ? ", " + sizeText(bytes) + " billed" : ", no parts stored yet");
    }
    std::optional<std::string> detail;
    if (leftOut > 0) {
        detail = countText(static_cast<std::int64_t>(leftOut), "unfinished large file is", "unfinished large files are")
            + " being uploaded right now and were not counted.";
    }
    log_.record({B2LogLevel::info, "bucket", std::move(message), std::move(detail)});
}

void UnfinishedUploadsModel::fail(
    const Target& target, std::string message, const std::exception_ptr& failure, std::string sentenceBefore)
{
    if (isCancellation(failure))
        return;
    std::string text = describe(failure);
    bool isBucketGone = false;
    try {
        std::rethrow_exception(failure);
    } catch (const B2Error& refusal) {
        isBucketGone = refusal.api() && refusal.api()->isBadBucketID();
    } catch (...) {
        // Any other failure has its text alone.
    }
    if (isBucketGone) {
        text = "This bucket no longer exists";
        sentenceBefore.clear();
    }
    if (isOpen(target))
        error = sentenceBefore + text;
    log_.record({B2LogLevel::error, "bucket", std::move(message), text});
    if (isBucketGone && *session == target.session && onBucketGone)
        tasks_.start(onBucketGone(target.bucket.bucketID));
}
