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

// Inside B2Kit: work that waits for a disk or computes for long.

/// The properties by which a changed file is noticed.
struct B2FileStamp {
    std::int64_t size = 0;
    std::int64_t modifiedNanoseconds = 0; ///< Since 1970.
    std::uint64_t inode = 0;

    bool operator==(const B2FileStamp&) const = default;
};

/// A body ready to be sent; a small file has been read into memory.
struct B2HashedBody {
    B2UploadBody body;
    std::int64_t length = 0;
    std::string sha1; ///< 40 lowercase hexadecimal digits; empty when the body was not read for it.
    /// The stamp of a file that is read again when the body is sent; unset for a body in memory.
    std::optional<B2FileStamp> stamp;

    /// The digests of the parts in their order; empty when they were not computed.
    std::vector<std::string> partSHA1s;

    const B2FileRange* file() const { return std::get_if<B2FileRange>(&body); }
};

/// Callbacks while a file is read for its digest, from the reading thread and between the chunks.
struct B2HashWatch {
    std::function<void(std::int64_t bytesRead)> onRead;
    std::function<bool()> isSkipped; ///< Returning true ends the reading without a digest.
};

/// An actor for one piece of work after another, on threads that may block.
///
/// Cheap to create: use one for each piece of work, so that no file waits for another.
class B2FileWorker final : public Actor {
public:
    B2FileWorker();

    /// Reads the range for its digest; it must end where the file does.
    ///
    /// @throws B2FileError when the file cannot be read or is not of that length, Cancelled within a few milliseconds.
    Task<B2HashedBody> hash(B2FileRange range);

    /// Reads the range once for its digest and those of its parts.
    ///
    /// @param parts  cover the whole range, one after the other.
    /// @returns a body without digests when the reading was skipped.
    Task<B2HashedBody> hashInParts(B2FileRange range, std::vector<B2PartStretch> parts, B2HashWatch watch);

    /// Returns a body without a digest, without reading it; a later change is noticed.
    Task<B2HashedBody> stamp(B2FileRange range);

    Task<std::string> sha1(const std::string& bytes);

    /// Reads the range for its digest, each chunk while the disk fetches the next.
    ///
    /// @throws B2Error when the file is shorter than the range, else as `hash`.
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

/// Computes the SHA-1 of bytes in memory: a few at once, many in a worker, so that the caller's executor goes on.
Task<std::string> sha1Aside(const std::string& bytes);

/// Makes the error for a file that changed while it was read to be sent. Says nothing about what earlier attempts have
/// stored.
B2FileError changedFileError(const std::filesystem::path& path);
