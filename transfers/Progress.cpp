#include "foundation/ActivityLog.h"
#include "foundation/MainExecutor.h"
#include "transfers/ProgressThrottle.h"
#include "transfers/TransferRun.h"
#include "transfers/TransferTexts.h"

#include <QMetaObject>

namespace {

/// Hops to the main thread; drops the report there when the attempt is over.
template <class Apply>
ProgressThrottle::Update onMainThread(const TransferRun& run, Apply apply)
{
    // Held weakly: the record may not end on a client's thread.
    return
        [transfer = std::weak_ptr(run.transfer), attempt = run.attempt, apply](std::int64_t done, std::int64_t total) {
            QMetaObject::invokeMethod(
                &MainExecutor::shared(),
                [=] {
                    const auto record = transfer.lock();
                    if (record && record->attempt() == attempt && record->state->is(Transfer::State::Case::running))
                        apply(*record, done, total);
                },
                Qt::QueuedConnection);
        };
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
