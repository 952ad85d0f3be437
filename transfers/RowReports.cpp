#include "transfers/RowReports.h"

#include "async/Group.h"
#include "foundation/MainExecutor.h"
#include "foundation/log/ActivityLog.h"
#include "transfers/ProgressThrottle.h"
#include "transfers/TransferTexts.h"

#include <variant>

namespace {

using Report = std::function<void(Transfer& transfer, std::int64_t done, std::int64_t total)>;

std::shared_ptr<ProgressThrottle> throttled(const TransferRun& run, ProgressThrottle::Step step, Report report)
{
    return std::make_shared<ProgressThrottle>(
        step, [row = RowOfAttempt(run), report = std::move(report)](std::int64_t done, std::int64_t total) {
            row.show([report, done, total](Transfer& transfer) { report(transfer, done, total); });
        });
}

void showMoved(Transfer& transfer, std::int64_t done, std::int64_t)
{
    // The first report includes bytes of an earlier attempt, which have not moved now.
    if (!*transfer.transferStartedAt) {
        transfer.bytesTransferred = done;
        noteTransferStart(transfer);
    }
    transfer.bytesTransferred = done;
    if (const auto folder = transfer.parent.lock())
        folder->bytesTransferred = *folder->bytesFromFinishedFiles + done;
}

void showRetry(Transfer& transfer, const B2PartRetryEvent& event)
{
    transfer.partsInTrouble.update([&](auto& troubles) {
        if (const auto* waiting = std::get_if<B2PartBackingOff>(&event))
            troubles[waiting->partNumber] =
                partTroubleText(waiting->reason, waiting->delaySeconds, waiting->attempt, waiting->maxAttempts);
        else
            troubles.erase(std::get<B2PartRecovered>(event).partNumber);
    });
}

} // namespace

Task<> RowOfAttempt::apply(std::weak_ptr<Transfer> transfer, int attempt, std::function<void(Transfer&)> change)
{
    const auto record = transfer.lock();
    if (record && record->attempt() == attempt && record->state->is(Transfer::State::Case::running))
        change(*record);
    co_return;
}

void RowOfAttempt::show(std::function<void(Transfer&)> change) const
{
    spawn(MainExecutor::shared(), apply(transfer_, attempt_, std::move(change)));
}

void noteTransferStart(Transfer& transfer)
{
    transfer.transferStartedAt = Transfer::Clock::now();
    transfer.bytesAtStart = *transfer.bytesTransferred;
    const auto folder = transfer.parent.lock();
    if (!folder)
        return;
    // The first of many small files starts the folder's pace. A checksum pass moves nothing, so the pace restarts after
    // it.
    if (*folder->transferStartedAt && !*transfer.hashStartedAt)
        return;
    folder->transferStartedAt = *transfer.transferStartedAt;
    folder->bytesAtStart = *folder->bytesFromFinishedFiles + *transfer.bytesAtStart;
}

B2Progress progressOf(const TransferRun& run, ActivityLog& log)
{
    const auto row = throttled(run, ProgressThrottle::forRow, showMoved);
    const auto line = throttled(
        run, ProgressThrottle::forLog, [&log](const Transfer& transfer, std::int64_t done, std::int64_t total) {
            log.record({B2LogLevel::info, "transfer", progressLine(transfer, done, total), {}});
        });
    return [row, line](std::int64_t done, std::int64_t total) {
        row->report(done, total);
        line->report(done, total);
    };
}

std::function<void(std::int64_t)> hashingReportsOf(const TransferRun& run, std::int64_t total)
{
    const auto row = throttled(run, ProgressThrottle::forRow,
        [](Transfer& transfer, std::int64_t done, std::int64_t) { transfer.hashedBytes = done; });
    return [row, total](std::int64_t done) { row->report(done, total); };
}

std::function<void(const B2PartRetryEvent&)> retryReportsOf(const TransferRun& run)
{
    return [row = RowOfAttempt(run)](const B2PartRetryEvent& event) {
        row.show([event](Transfer& transfer) { showRetry(transfer, event); });
    };
}
