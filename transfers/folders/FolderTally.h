#pragma once

#include "async/Task.h"
#include "transfers/Transfer.h"
#include "transfers/upload/FolderScan.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class ActivityLog;

/// Counts the files of a folder as they end, and shows the counts on its record. For one attempt, on the main thread.
class FolderTally {
public:
    /// @param log  outlives this.
    FolderTally(TransferRun run, ActivityLog& log);

    /// Shows the size of the folder.
    void setTotal(int fileCount, std::int64_t byteCount);

    /// Makes the file the current one; changes of its record show on the folder's.
    void begin(const std::shared_ptr<Transfer>& child);

    /// Counts a file by the state of its record. A file that was stopped is not counted.
    void countEnd(const Transfer& child, std::string relativePath, std::int64_t size);
    /// Counts a file that an earlier attempt has done.
    void completeWithoutMoving(std::int64_t size);
    /// Counts a failure, also of a file without a record.
    void fail(std::string relativePath, std::string reason, std::int64_t size);

    /// Counts items that are not files, neither as done nor as failed.
    /// @param restReason  for those that are not named.
    void leaveOut(const LeftOut& items, const std::string& restReason);

    /// Yields now and then between files that need no waiting, to keep the window responsive.
    Task<> breathe();

    /// Ends a folder without files.
    /// @param text    of the row.
    /// @param detail  of the log's line.
    void finishEmpty(std::string text, std::optional<std::string> detail = {});
    /// Sets the record's last state and writes the lines of the log.
    /// @param place  where the files are now.
    void finish(std::string place);
    /// Does the same after a stop.
    /// @param interrupted  the file that was sent in part; its parts stay stored.
    void stop(std::optional<std::string> interrupted = {});

private:
    void count(std::int64_t size, bool hasMoved);
    void publish();

    TransferRun run_;
    ActivityLog& log_;
    std::string_view verb_;
    std::string folderName_;
    int fileCount_ = 0;
    int completed_ = 0;
    int skipped_ = 0;
    int failed_ = 0;
    std::int64_t bytes_ = 0; ///< Of the files that have ended.
    std::vector<FileProblem> problems_;
};

/// The name of a folder's record without its "/".
std::string folderNameOf(const Transfer& folder);
