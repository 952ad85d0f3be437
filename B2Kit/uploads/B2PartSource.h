#pragma once

#include "B2Kit/files/B2FileWorker.h"
#include "B2Kit/uploads/B2LargeUpload.h"
#include "B2Kit/uploads/B2PartPlan.h"

#include <exception>
#include <string>
#include <vector>

// Inside B2Kit: the bytes that a large upload reads.

/// The source of an upload in parts: a file, which is read again for each part, or bytes in memory.
///
/// Its coroutines run on the caller's executor and leave the reading to a `B2FileWorker`.
class B2PartSource {
public:
    /// The number of bytes to upload.
    ///
    /// @throws B2Error when there is no such regular file.
    static Task<std::int64_t> sizeOf(const B2UploadLargeFileRequest* request);

    /// Takes the source as it is at this moment, and computes the digests that the request wants.
    ///
    /// @throws B2FileError when the file cannot be read or is not in the state that the caller expects.
    Task<> open(const B2UploadLargeFileRequest* request, std::vector<B2PartStretch> plan);

    int partCount() const { return static_cast<int>(plan_.size()); }
    std::int64_t length() const { return whole_.length; }
    /// The digest of the whole; empty when it was not computed.
    const std::string& sha1() const { return whole_.sha1; }
    const std::vector<B2PartStretch>& plan() const { return plan_; }
    const B2PartStretch& stretch(int number) const { return plan_.at(static_cast<std::size_t>(number) - 1); }

    /// Returns a part with its digest, for all its attempts.
    Task<B2HashedBody> part(int number) const;

    /// @param partNumber  named by the error.
    /// @throws B2Error when the file is no longer what was opened.
    Task<> requireUnchanged(int partNumber) const;

    /// Was the part refused because the file now holds other bytes, although it looks as it did?
    Task<bool> wasRefusedForItsBytes(const B2HashedBody* part, std::exception_ptr failure) const;

private:
    void requireExpected(const std::optional<B2SourceState>& expected) const;

    B2HashedBody whole_;
    std::vector<B2PartStretch> plan_;
};
