#include "transfers/TransferQueue.h"

#include "B2Kit/pipeline/B2RetryPolicy.h"
#include "foundation/MainExecutor.h"
#include "foundation/Texts.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/runs/BytesFate.h"
#include "transfers/TransferProgress.h"

#include <QPointer>
#include <QThread>

#include <fmt/format.h>

#include <algorithm>

namespace {

/// Waits for the end of an earlier attempt, so that two never write the same file.
Task<> endOf(std::optional<OneShot<void>> previous)
{
    if (previous)
        co_await previous->wait([] {});
}

} // namespace

TransferQueue::TransferQueue(
    Settings& settings, ActivityLog& log, const DownloadDestination& destination, std::filesystem::path markDirectory)
    : log_(log)
    , destination_(destination)
    , downloadContext_{.settings = &settings, .log = &log, .markDirectory = std::move(markDirectory)}
    , uploadContext_{.settings = &settings, .log = &log}
{
}

void TransferQueue::enqueue(std::shared_ptr<Transfer> transfer, Work work)
{
    works_.insert_or_assign(transfer->id, std::move(work));
    transfers.update([&](auto& rows) { rows.push_back(transfer); });
    submit(transfer);
}

void TransferQueue::submit(const std::shared_ptr<Transfer>& transfer)
{
    Q_ASSERT(thread() == QThread::currentThread());
    log_.record({B2LogLevel::info, "transfer",
        fmt::format("Queued {} of {} - {}", transfer->kind == Transfer::Kind::upload ? "upload" : "download",
            transfer->displayName, sizeText(*transfer->byteCount)),
        transfer->remoteName});
    pending_.push_back({{transfer, transfer->attempt()}, works_.at(transfer->id)});
    startNext();
}

void TransferQueue::startNext()
{
    while (running_ < maxConcurrent && !pending_.empty()) {
        const Pending next = std::move(pending_.front());
        pending_.pop_front();
        const auto& transfer = next.run.transfer;
        if (!next.run.isCurrent() || !transfer->state->is(Transfer::State::Case::waiting))
            continue;
        if (++running_ == 1)
            Q_EMIT runningChanged();
        std::optional<OneShot<void>> previousEnd;
        if (const auto previous = ending_.find(transfer->id); previous != ending_.end())
            previousEnd = previous->second.task.done;
        auto task = spawn(MainExecutor::shared(), carryOut(this, next.run, next.work, std::move(previousEnd)));
        tasks_.insert_or_assign(transfer->id, Started{next.run.attempt, std::move(task)});
    }
}

Task<> TransferQueue::carryOut(
    QPointer<TransferQueue> queue, TransferRun run, Work work, std::optional<OneShot<void>> previousEnd)
{
    try {
        co_await endOf(std::move(previousEnd));
        co_await checkCancelled();
        co_await work(run);
    } catch (const Cancelled&) {
        run.setState(Transfer::State::cancelled());
    } catch (...) {
        // An unexpected failure, so nothing is claimed about the bytes.
        run.setState(Transfer::State::failed(describe(std::current_exception())));
    }
    if (queue)
        queue->ended(run);
}

void TransferQueue::ended(const TransferRun& run)
{
    --running_;
    for (auto* started : {&tasks_, &ending_}) {
        const auto entry = started->find(run.transfer->id);
        if (entry != started->end() && entry->second.attempt == run.attempt)
            started->erase(entry);
    }
    announceUploadEnd(run);
    if (running_ == 0) {
        for (const auto& drained : std::exchange(drains_, {}))
            drained.set();
    }
    startNext();
    if (running_ == 0)
        Q_EMIT runningChanged();
}

void TransferQueue::announceUploadEnd(const TransferRun& run)
{
    const Transfer& transfer = *run.transfer;
    if (!run.isCurrent() || transfer.kind != Transfer::Kind::upload)
        return;
    // Files of a folder may have been stored however the folder ended.
    const bool hasWritten = transfer.state->is(Transfer::State::Case::finished) || *transfer.filesCompleted > 0;
    // A cancel has already announced its end.
    if (hasWritten || transfer.state->is(Transfer::State::Case::failed))
        Q_EMIT uploadEnded(run.transfer, hasWritten);
}

void TransferQueue::cancel(const std::shared_ptr<Transfer>& transfer)
{
    if (!transfer->state->isLive())
        return;
    log_.record({B2LogLevel::notice, "transfer", "Cancelled " + transfer->displayName, {}});
    if (const auto entry = tasks_.find(transfer->id); entry != tasks_.end()) {
        Started started = std::move(entry->second);
        tasks_.erase(entry);
        started.task.cancel();
        ending_.insert_or_assign(transfer->id, std::move(started));
    }
    transfer->state = Transfer::State::cancelled();
    startNext();
    if (transfer->kind == Transfer::Kind::upload)
        Q_EMIT uploadEnded(transfer, false);
}

bool TransferQueue::canRetry(const Transfer& transfer) const
{
    const auto& state = *transfer.state;
    return (state.is(Transfer::State::Case::failed) || state.is(Transfer::State::Case::cancelled))
        && (transfer.kind == Transfer::Kind::download || *transfer.localPath)
        && works_.contains(transfer.id)
        // If another row has resumed it, a retry would send it twice.
        && !(*transfer.resumableFileID && inFlightFileIDs().contains(**transfer.resumableFileID));
}

void TransferQueue::retry(const std::shared_ptr<Transfer>& transfer)
{
    if (!canRetry(*transfer))
        return;
    transfer->beginAgain();
    submit(transfer);
}

void TransferQueue::skipChecksum(const std::shared_ptr<Transfer>& transfer)
{
    if (!canSkipChecksum(*transfer))
        return;
    const auto& child = *transfer->activeChild;
    const auto& target = child ? child : transfer;
    // All children share the folder's flag.
    transfer->skipChecksum->raise();
    target->checksumSkipped = true;
    log_.record({B2LogLevel::warning, "transfer",
        child ? fmt::format("Skipped checksums for {} and everything left in it", transfer->displayName)
              : "Skipped the checksum for " + transfer->displayName,
        "Uploading without a whole-file checksum. Parts are still checked in transit; the stored file cannot be "
        "verified later."});
}

void TransferQueue::clearFinished()
{
    const auto isLive = [](const auto& transfer) { return transfer->state->isLive(); };
    if (std::ranges::all_of(*transfers, isLive))
        return;
    std::vector<std::shared_ptr<Transfer>> kept;
    for (const auto& transfer : *transfers) {
        if (isLive(transfer))
            kept.push_back(transfer);
        else
            works_.erase(transfer->id);
    }
    transfers = std::move(kept);
}

std::vector<std::shared_ptr<Transfer>> TransferQueue::activeTransfers() const
{
    std::vector<std::shared_ptr<Transfer>> active;
    std::ranges::copy_if(
        *transfers, std::back_inserter(active), [](const auto& transfer) { return transfer->state->isLive(); });
    return active;
}

std::set<std::string> TransferQueue::inFlightFileIDs() const
{
    std::set<std::string> fileIDs;
    for (const auto& transfer : activeTransfers()) {
        for (const auto& record : {transfer, *transfer->activeChild}) {
            if (record && *record->resumableFileID)
                fileIDs.insert(**record->resumableFileID);
        }
    }
    return fileIDs;
}

Task<> TransferQueue::stopAll()
{
    scope_.cancelAll();
    for (const auto& transfer : activeTransfers())
        cancel(transfer);
    if (running_ == 0)
        co_return;
    const OneShot<void> drained;
    drains_.push_back(drained);
    co_await drained.wait();
}

void TransferQueue::refuse(std::string message, BytesOperation operation, const BytesFailure& failure)
{
    auto sentence = failureText(operation, failure);
    log_.record({B2LogLevel::error, "transfer", std::move(message), sentence});
    refusals.update([&](auto& all) { all.push_back(std::move(sentence)); });
}
