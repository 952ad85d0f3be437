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

/// What has become of the files of a folder, shown on its record as they end. Of one attempt, on the main thread.
class FolderTally {
public:
    /// @param log  outlives this.
    FolderTally(TransferRun run, ActivityLog& log);

    /// The folder is counted now.
    void setTotal(int fileCount, std::int64_t byteCount);

    /// The file goes now; what changes on its record shows on the folder's.
    void begin(const std::shared_ptr<Transfer>& child);

    // The end of a file, whether it had a record or not.
    void complete(std::int64_t size);
    /// An earlier attempt has done it.
    void completeWithoutMoving(std::int64_t size);
    void skip(std::string relativePath, std::string reason, std::int64_t size);
    void fail(std::string relativePath, std::string reason, std::int64_t size);

    /// What is no file; it counts neither as done nor as failed.
    /// @param restReason  for those that are not named.
    void leaveOut(const LeftOut& items, const std::string& restReason);

    /// Lets the window breathe now and then between files that wait for nothing.
    Task<> breathe();

    /// The folder holds no file: tells what else it holds.
    void finishEmpty(std::string text);
    /// Sets the record's last state and writes the lines of the log.
    /// @param place  where the files have gone.
    void finish(std::string place);
    /// The same after a stop.
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
