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

/// What a caller found a source file to be.
struct B2SourceState {
    std::int64_t size = 0;
    std::chrono::system_clock::time_point modificationDate;
    std::uint64_t inode = 0;
};

/// A file, or bytes in memory, to upload in parts.
///
/// The callbacks come on any thread and return quickly; none comes after the upload's end.
struct B2UploadLargeFileRequest {
    /// Parts in flight at once.
    static constexpr int usualConcurrency = 4;

    std::string bucketID;
    std::string fileName;
    std::string contentType = "b2/x-auto";
    std::variant<std::filesystem::path, std::shared_ptr<const std::string>> source;
    std::map<std::string, std::string> fileInfo; ///< `large_file_sha1` is added, when there is a digest.
    std::optional<std::chrono::system_clock::time_point> modificationDate; ///< Kept as `src_last_modified_millis`.
    std::optional<std::int64_t> partSize;                                  ///< Unset: as the account recommends.
    bool hashesMemory = false; ///< Compute a digest of the whole for bytes in memory too.
    /// Read a file once before it is sent, to record its digest. Without, a stored file cannot be verified later; a
    /// change on the way is noticed all the same.
    bool recordsWholeFileChecksum = true;
    /// Asked between the pieces of that pass, on any thread: true ends the pass, and the upload goes on without a
    /// digest. Not asked with a `startedSHA1`, which nothing else can be compared with.
    std::function<bool()> isChecksumSkipped;

    /// An unfinished large file to go on with. Of a source that has not changed since, its digest need not be recorded
    /// again; of one that may have, `verifiesEveryPart` and the `startedSHA1` are compared before a part is trusted.
    /// What the caller's decisions rest on: a file that is another one by the time it is read is refused.
    std::optional<B2SourceState> expectedSource;
    std::optional<std::string> resumeFileID;
    /// Compare every stored part with the source before it is trusted, and not the lowest alone: for a source whose
    /// modification date is another than the one it was started with.
    bool verifiesEveryPart = false;
    /// The `large_file_sha1` the unfinished file was started with. A source with another digest is not the same file,
    /// whatever the stored parts say, and would be stored under a wrong digest.
    std::optional<std::string> startedSHA1;

    int concurrency = usualConcurrency;

    std::function<void(std::int64_t bytesRead)> onHashing;
    /// Not for a resumed file. @param sha1  of the whole, as it was recorded; empty without a digest.
    std::function<void(const std::string& fileID, const std::string& sha1)> onStarted;
    std::function<void(int partsDone, int partCount)> onResumeState;
    B2Progress onProgress; ///< Bytes of the file, those on B2 before included; goes back when a part is sent again.
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
