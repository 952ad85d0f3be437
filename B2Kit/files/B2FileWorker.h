#pragma once

#include "B2Kit/B2Error.h"
#include "B2Kit/B2Requests.h"
#include "B2Kit/transport/B2Transport.h"
#include "B2Kit/uploads/B2PartPlan.h"
#include "async/Executor.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Inside B2Kit: work that waits for a disk or reckons for long.

/// By what a changed file is noticed.
struct B2FileStamp {
    std::int64_t size = 0;
    std::int64_t modifiedNanoseconds = 0; ///< Since 1970.
    std::uint64_t inode = 0;

    bool operator==(const B2FileStamp&) const = default;
};

/// A body as it is sent: a small file has become bytes in memory.
struct B2HashedBody {
    B2UploadBody body;
    std::int64_t length = 0;
    std::string sha1; ///< 40 lowercase hexadecimal digits; empty when the body was not read for it.
    /// Of the file that is read again when the body is sent; unset for a body in memory.
    std::optional<B2FileStamp> stamp;

    /// Of the parts the body was to be read for, in their order; empty when it was not.
    std::vector<std::string> partSHA1s;

    const B2FileRange* file() const { return std::get_if<B2FileRange>(&body); }
};

/// What looks on while a file is read for its digest; called by the reading thread, between the pieces.
struct B2HashWatch {
    std::function<void(std::int64_t bytesRead)> onRead;
    std::function<bool()> isSkipped; ///< True ends the reading, and there is no digest.
};

/// An actor for one piece of work after another, on threads that may block.
///
/// Cheap to make: one for each piece of work, so that no file waits for another's.
class B2FileWorker final : public Actor {
public:
    B2FileWorker();

    /// Reads the stretch for its digest; it ends where the file does.
    ///
    /// @throws B2FileError when the file cannot be read or is not of that length, Cancelled within a few milliseconds.
    Task<B2HashedBody> hash(B2FileRange range);

    /// The same, with the digests of the file's parts: one reading for both.
    ///
    /// @param parts  of the whole stretch, one after the other.
    /// @returns a body without digests when the reading was skipped.
    Task<B2HashedBody> hashInParts(B2FileRange range, std::vector<B2PartStretch> parts, B2HashWatch watch);

    /// The same without the reading: a body without a digest, of which a change is noticed.
    Task<B2HashedBody> stamp(B2FileRange range);

    Task<std::string> sha1(const std::string& bytes);

    /// Reads the stretch for its digest, each piece while the disk fetches the next.
    ///
    /// @throws B2Error when the file ends before the stretch does, else as `hash`.
    Task<std::string> sha1OfFile(B2FileRange range);

    /// @throws B2Error when there is no such regular file.
    Task<std::int64_t> sizeOf(std::filesystem::path path);

    /// Has the file that is read again changed since it was hashed?
    Task<bool> hasChanged(const B2HashedBody& body);

    /// See `B2TemporaryFile::placeAt`.
    Task<> place(B2TemporaryFile file, B2FileDestination destination);

private:
    explicit B2FileWorker(std::shared_ptr<SerialExecutor> executor);

    Task<> readInParts(B2HashedBody& body, std::vector<B2PartStretch> parts, B2HashWatch watch);

    std::shared_ptr<SerialExecutor> executor_;
};

/// The SHA-1 of bytes in memory: a few at once, many by a worker, so that the caller's executor goes on.
Task<std::string> sha1Aside(const std::string& bytes);

/// The error of a file that changed while it was read to be sent. Says nothing about what earlier attempts have stored.
B2FileError changedFileError(const std::filesystem::path& path);
