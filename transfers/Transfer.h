#pragma once

#include "B2Kit/B2Bucket.h"
#include "B2Kit/B2Download.h"
#include "foundation/Observable.h"
#include "foundation/runs/BytesFate.h"
#include "transfers/AbandonFlag.h"
#include "transfers/upload/SourceBookmark.h"

#include <QUuid>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Something in a folder that was not transferred, and why.
struct FileProblem {
    /// `skipped`: as the settings ask for. `leftOut`: it is not a file.
    enum class Kind { failed, skipped, leftOut };

    std::string relativePath;
    std::string reason; ///< A sentence.
    Kind kind = Kind::failed;
    int count = 1; ///< Above 1 for several that are not named.

    bool operator==(const FileProblem&) const = default;
};

/// One row of the transfer queue: an upload or download of a file, or of a folder whose files run one after another.
///
/// Lives on the main thread. Shared by the queue, the work that runs it and its views.
class Transfer final : public Observable {
    Q_OBJECT

public:
    enum class Kind { download, upload };

    /// The state of a transfer; every one but waiting and running is terminal.
    struct State {
        enum class Case { waiting, running, finished, skipped, cancelled, failed };

        Case which = Case::waiting;
        std::string text; ///< Why it failed; empty otherwise.

        static State waiting() { return {}; }
        static State running() { return {Case::running, {}}; }
        static State finished() { return {Case::finished, {}}; }
        static State skipped() { return {Case::skipped, {}}; }
        static State cancelled() { return {Case::cancelled, {}}; }
        static State failed(std::string text) { return {Case::failed, std::move(text)}; }

        bool is(Case other) const { return which == other; }
        bool isLive() const { return is(Case::waiting) || is(Case::running); }

        bool operator==(const State&) const = default;
    };

    using Clock = std::chrono::steady_clock;

    Transfer(Kind kind, std::string remoteName, std::int64_t byteCount = 0);

    const QUuid id;
    const Kind kind;
    /// The whole name at the service; for a folder, its prefix.
    const std::string remoteName;
    /// The part of the name after the last "/"; for a folder, its own name with the "/".
    const std::string displayName;

    Observed<State> state{this};
    Observed<std::int64_t> byteCount;
    Observed<std::optional<B2Bucket>> bucket{this};
    /// The source of an upload, or where a download landed.
    Observed<std::optional<std::filesystem::path>> localPath{this};
    Observed<std::optional<SourceBookmark>> sourceBookmark{this};
    Observed<std::optional<B2ChecksumOutcome>> checksum{this}; ///< Of a finished download.

    // --- The current attempt

    Observed<std::int64_t> bytesTransferred{this};
    Observed<std::int64_t> bytesAtStart{this}; ///< Above 0 when the attempt continues an earlier one.
    Observed<std::optional<Clock::time_point>> transferStartedAt{this};

    /// The outcome of earlier attempts at an upload, apart from the parts of `resumableFileID`.
    BytesFate fate;

    // --- The whole-file checksum pass before a large upload

    Observed<bool> isHashing{this};
    Observed<std::int64_t> hashedBytes{this};
    Observed<std::optional<Clock::time_point>> hashStartedAt{this};
    Observed<bool> checksumSkipped{this}; ///< By the user.
    const std::shared_ptr<AbandonFlag> skipChecksum = std::make_shared<AbandonFlag>();
    std::shared_ptr<AbandonFlag> folderSkipChecksum; ///< The parent's flag, shared by all its children.

    // --- A transfer in parts

    Observed<std::optional<int>> partsCompleted{this};
    Observed<std::optional<int>> partCount{this};
    Observed<std::map<int, std::string>> partsInTrouble{this}; ///< The text of each part's retry, by part number.
    Observed<std::optional<int>> partsAtStart{this}; ///< Stored by an earlier attempt; unset when nothing was.
    Observed<std::optional<std::string>> resumableFileID{this};
    /// The whole-file checksum that the large file was started with; empty without one.
    Observed<std::string> startedSHA1{this};

    // --- A folder and its children

    Observed<std::optional<int>> fileCount{this}; ///< Set only on a folder, once it is counted.
    Observed<int> filesCompleted{this};
    Observed<int> filesFailed{this};
    Observed<int> filesSkipped{this};                      ///< Those among the completed that were already there.
    Observed<int> itemsLeftOut{this};                      ///< Links, pipes, empty folders. Not in `fileCount`.
    Observed<std::vector<FileProblem>> fileProblems{this}; ///< Set at the end; failures come first.
    Observed<bool> isScanning{this};
    Observed<std::int64_t> bytesFromFinishedFiles{this};
    Observed<std::shared_ptr<Transfer>> activeChild{this};
    std::weak_ptr<Transfer> parent;

    /// Counts the restarts, so that reports of an earlier attempt can be recognized.
    int attempt() const { return attempt_; }

    /// Resets a terminal transfer to waiting for another attempt, with its counters at zero.
    void beginAgain();

private:
    int attempt_ = 0;
};

/// One attempt at a transfer. Late reports of an earlier attempt are dropped.
struct TransferRun {
    std::shared_ptr<Transfer> transfer;
    int attempt = 0;

    bool isCurrent() const { return transfer->attempt() == attempt; }
    void setState(Transfer::State state) const;
};
