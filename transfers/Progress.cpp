#include "async/Group.h"
#include "foundation/ActivityLog.h"
#include "foundation/MainExecutor.h"
#include "transfers/ProgressThrottle.h"
#include "transfers/TransferRun.h"
#include "transfers/TransferTexts.h"

namespace {

/// Shows a report on the main thread, unless the attempt is over by then.
template <class Apply>
Task<> show(std::weak_ptr<Transfer> transfer, int attempt, Apply apply, std::int64_t done, std::int64_t total)
{
    const auto record = transfer.lock();
    if (record && record->attempt() == attempt && record->state->is(Transfer::State::Case::running))
        apply(*record, done, total);
    co_return;
}

/// Hops to the main thread with each report.
template <class Apply>
ProgressThrottle::Update onMainThread(const TransferRun& run, Apply apply)
{
    // Held weakly: the record may not end on a client's thread.
    return [transfer = std::weak_ptr(run.transfer), attempt = run.attempt, apply](std::int64_t done,
               std::int64_t total) { spawn(MainExecutor::shared(), show(transfer, attempt, apply, done, total)); };
}

} // namespace

B2Progress progressOf(const TransferRun& run)
{
    const auto row = std::make_shared<ProgressThrottle>(ProgressThrottle::forRow,
        onMainThread(
            run, [](Transfer& transfer, std::int64_t done, std::int64_t) { transfer.bytesTransferred = done; }));
    const auto log = std::make_shared<ProgressThrottle>(
        ProgressThrottle::forLog, onMainThread(run, [](Transfer& transfer, std::int64_t done, std::int64_t total) {
            ActivityLog::shared().record({B2LogLevel::info, "transfer", progressLine(transfer, done, total), {}});
        }));
    return [row, log](std::int64_t done, std::int64_t total) {
        row->report(done, total);
        log->report(done, total);
    };
}
