#include "transfers/folders/FolderTally.h"

#include "foundation/Texts.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/runs/BytesFate.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

/// "3 of 12 files".
std::string ofFiles(int part, int whole)
{
    return fmt::format("{} of {}", part, countText(whole, "file", "files"));
}

std::vector<FileProblem> worstFirst(const std::vector<FileProblem>& problems)
{
    using Kind = FileProblem::Kind;
    std::vector<FileProblem> sorted;
    sorted.reserve(problems.size());
    for (const auto kind : {Kind::failed, Kind::skipped, Kind::leftOut})
        std::ranges::copy_if(
            problems, std::back_inserter(sorted), [kind](const FileProblem& problem) { return problem.kind == kind; });
    return sorted;
}

} // namespace

FolderTally::FolderTally(TransferRun run, ActivityLog& log)
    : run_(std::move(run))
    , log_(log)
    , verb_(run_.transfer->kind == Transfer::Kind::upload ? "Uploaded" : "Downloaded")
    , folderName_(folderNameOf(*run_.transfer))
{
}

void FolderTally::setTotal(int fileCount, std::int64_t byteCount)
{
    fileCount_ = fileCount;
    if (!run_.isCurrent())
        return;
    run_.transfer->byteCount = byteCount;
    run_.transfer->fileCount = fileCount;
}

void FolderTally::begin(const std::shared_ptr<Transfer>& child)
{
    if (!run_.isCurrent())
        return;
    // The child of an earlier attempt is already connected.
    QObject::connect(
        child.get(), &Observable::changed, run_.transfer.get(), &Observable::markChanged, Qt::UniqueConnection);
    run_.transfer->activeChild = child;
}

void FolderTally::countEnd(const Transfer& child, std::string relativePath, std::int64_t size)
{
    using Case = Transfer::State::Case;
    if (child.state->is(Case::finished)) {
        ++completed_;
        count(size, true);
    } else if (child.state->is(Case::skipped)) {
        ++skipped_;
        problems_.push_back(
            {std::move(relativePath), "Skipped: it is already in the destination folder.", FileProblem::Kind::skipped});
        completeWithoutMoving(size);
    } else if (child.state->is(Case::failed)) {
        fail(std::move(relativePath), child.state->text, size);
    }
}

void FolderTally::completeWithoutMoving(std::int64_t size)
{
    ++completed_;
    count(size, false);
}

void FolderTally::fail(std::string relativePath, std::string reason, std::int64_t size)
{
    ++failed_;
    problems_.push_back({std::move(relativePath), std::move(reason)});
    count(size, false);
}

void FolderTally::leaveOut(const LeftOut& items, const std::string& restReason)
{
    problems_.insert(problems_.end(), items.named.begin(), items.named.end());
    if (const auto rest = items.count - std::ssize(items.named); rest > 0)
        problems_.push_back(
            {"and " + countText(rest, "more", "more"), restReason, FileProblem::Kind::leftOut, static_cast<int>(rest)});
    if (run_.isCurrent())
        run_.transfer->itemsLeftOut = *run_.transfer->itemsLeftOut + static_cast<int>(items.count);
}

void FolderTally::count(std::int64_t size, bool hasMoved)
{
    bytes_ += size;
    if (!run_.isCurrent())
        return;
    Transfer& folder = *run_.transfer;
    folder.filesCompleted = completed_;
    folder.filesFailed = failed_;
    folder.filesSkipped = skipped_;
    folder.bytesFromFinishedFiles = bytes_;
    folder.bytesTransferred = bytes_;
    // A file that did not move must not change the pace.
    if (!hasMoved)
        folder.bytesAtStart = *folder.bytesAtStart + size;
}

Task<> FolderTally::breathe()
{
    constexpr int batchSize = 100;
    if ((completed_ + failed_) % batchSize == 0)
        co_await yieldToOthers();
}

void FolderTally::publish()
{
    if (!run_.isCurrent())
        return;
    run_.transfer->activeChild = nullptr;
    run_.transfer->fileProblems = worstFirst(problems_);
}

void FolderTally::finishEmpty(std::string text, std::optional<std::string> detail)
{
    publish();
    const auto* const moved = run_.transfer->kind == Transfer::Kind::upload ? "uploaded" : "downloaded";
    log_.record({B2LogLevel::warning, "transfer",
        fmt::format("Nothing {} from {}, it holds no files", moved, folderName_), std::move(detail)});
    run_.setState(Transfer::State::failed(std::move(text)));
}

void FolderTally::finish(std::string place)
{
    publish();
    if (skipped_ > 0)
        log_.record({B2LogLevel::notice, "transfer",
            fmt::format("Skipped {} from {}", countText(skipped_, "file", "files"), folderName_),
            "They were already there and are untouched. The entries above name each."});
    if (failed_ == 0) {
        log_.record({B2LogLevel::notice, "transfer",
            fmt::format("{} {} from {}", verb_, countText(completed_, "file", "files"), folderName_),
            std::move(place)});
        run_.setState(Transfer::State::finished());
        return;
    }
    log_.record({B2LogLevel::error, "transfer",
        fmt::format("{} {} from {}", verb_, ofFiles(completed_, fileCount_), folderName_),
        fmt::format("{} failed - see the entries above for each", failed_)});
    run_.setState(Transfer::State::failed(ofFiles(failed_, fileCount_) + " failed"));
}

void FolderTally::stop(std::optional<std::string> interrupted)
{
    publish();
    if (interrupted)
        interrupted =
            fmt::format("“{}” was sent in part. {} The folder's Resume goes on from them; \"Unfinished Uploads\" "
                        "removes them.",
                *interrupted, fateText(BytesOperation::upload, BytesFate::parts()));
    log_.record(
        {B2LogLevel::notice, "transfer", "Stopped after " + ofFiles(completed_, fileCount_), std::move(interrupted)});
    run_.setState(Transfer::State::cancelled());
}

std::string folderNameOf(const Transfer& folder)
{
    auto name = folder.displayName;
    if (name.ends_with('/'))
        name.pop_back();
    return name;
}
