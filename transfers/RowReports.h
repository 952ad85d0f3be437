#pragma once

#include "B2Kit/transport/B2Transport.h"
#include "B2Kit/uploads/B2LargeUpload.h"
#include "async/Task.h"
#include "transfers/Transfer.h"

#include <functional>
#include <memory>

class ActivityLog;

// Internal to transfers: brings the client's reports, which come on any thread, to the row.

/// The row's attempt, held weakly: a record must not be destroyed on a client's thread.
class RowOfAttempt {
public:
    explicit RowOfAttempt(const TransferRun& run)
        : transfer_(run.transfer)
        , attempt_(run.attempt)
    {
    }

    /// Changes the row on the main thread, in the order of the calls, unless the attempt has ended. May be called from
    /// any thread.
    void show(std::function<void(Transfer&)> change) const;

private:
    static Task<> apply(std::weak_ptr<Transfer> transfer, int attempt, std::function<void(Transfer&)> change);

    std::weak_ptr<Transfer> transfer_;
    int attempt_;
};

/// Notes that the first byte of the attempt is about to move, for the folder's record too.
void noteTransferStart(Transfer& transfer);

/// Shows the bytes that have moved in the row and in the log, each at its own pace.
///
/// @param log  lives as long as the application.
B2Progress progressOf(const TransferRun& run, ActivityLog& log);

/// Shows retries in the row until they succeed.
std::function<void(const B2PartRetryEvent&)> retryReportsOf(const TransferRun& run);

/// Shows the whole-file checksum pass in the row.
std::function<void(std::int64_t)> hashingReportsOf(const TransferRun& run, std::int64_t total);
