#pragma once

#include "B2Kit/B2File.h"
#include "B2Kit/transport/B2Transport.h"
#include "B2Kit/uploads/B2PartRetryEvent.h"
#include "async/Task.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>

class B2Client;

/// The state in which a caller found a source file.
struct B2SourceState {
    std::int64_t size = 0;
    std::chrono::system_clock::time_point modificationDate;
    std::uint64_t inode = 0;
};

/// A file, or bytes in memory, to upload in parts.
///
/// The callbacks are called on any thread, never after the upload's end, and must return quickly.
struct B2UploadLargeFileRequest {
    /// Parts in flight at once.
    static constexpr int usualConcurrency = 4;

    std::string bucketID;
    std::string fileName;
    std::string contentType = "b2/x-auto";
    std::variant<std::filesystem::path, std::shared_ptr<const std::string>> source;
    std::map<std::string, std::string> fileInfo; ///< `large_file_sha1` is added if there is a digest.
    std::optional<std::chrono::system_clock::time_point> modificationDate; ///< Kept as `src_last_modified_millis`.
    std::optional<std::int64_t> partSize;                                  ///< Unset: as the account recommends.
    bool hashesMemory = false; ///< Compute a digest of the whole for bytes in memory too.
    /// Read a file once before it is sent, to record its digest. Without that, the stored file cannot be verified
    /// later; a change during the upload is noticed all the same.
    bool recordsWholeFileChecksum = true;
    /// Called between the chunks of that pass, on any thread: true ends the pass, and the upload goes on without a
    /// digest. Not called if there is a `startedSHA1`, which can be compared only with the digest.
    std::function<bool()> isChecksumSkipped;

    /// The file that the caller's decisions are based on: a file in another state is refused.
    std::optional<B2SourceState> expectedSource;
    /// An unfinished large file to resume. If its source has not changed since, the digest need not be recorded again;
    /// if it may have, set `verifiesEveryPart` and `startedSHA1`.
    std::optional<std::string> resumeFileID;
    /// Compare every stored part with the source before it is trusted, and not only the lowest one: for a source whose
    /// modification date has changed since the start.
    bool verifiesEveryPart = false;
    /// The `large_file_sha1` that the unfinished file was started with. A source with another digest is a different
    /// file even if every stored part fits, and would be stored under a wrong digest.
    std::optional<std::string> startedSHA1;

    int concurrency = usualConcurrency;

    std::function<void(std::int64_t bytesRead)> onHashing;
    /// Not for a resumed file. @param sha1  of the whole, as it was recorded; empty without a digest.
    std::function<void(const std::string& fileID, const std::string& sha1)> onStarted;
    std::function<void(int partsDone, int partCount)> onResumeState;
    B2Progress onProgress; ///< Bytes of the file, including those already on B2; goes back when a part is sent again.
    B2OnRetry onPartRetry;
    std::function<void(int done, int total)> onPartsDone;
};

/// Uploads in parts, so that the upload can go on after an interruption.
///
/// Reads the file twice, once for its digest and once part by part, and holds only what is being read. Runs on the
/// client's executor and resumes on the caller's. Each part has attempts of its own. Whatever stops the upload, the
/// large file stays unfinished on B2, to be resumed or cancelled; a file that changes on the way is never put together
/// from two contents. When the file to resume turns out to be finished, that version is the result.
///
/// @throws as the calls of `B2Client` do. After `B2Error::SourceChangedSinceUpload` resuming cannot help: the upload
///         has to start over.
Task<B2FileVersion> uploadLargeFile(std::shared_ptr<B2Client> client, B2UploadLargeFileRequest request);
