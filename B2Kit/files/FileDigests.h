#pragma once

#include "B2Kit/files/B2SHA1.h"
#include "B2Kit/files/TwinSHA1.h"
#include "B2Kit/uploads/B2PartPlan.h"
#include "async/Executor.h"
#include "async/Task.h"

#include <optional>
#include <string_view>
#include <vector>

/// Computes the SHA-1 of a file and those of its parts in one reading: both at once if the processor can do that, else
/// on two threads.
class FileDigests {
public:
    /// @param parts  cover the whole file, one after the other.
    /// @param pool   provides the second thread.
    FileDigests(std::vector<B2PartStretch> parts, WorkerPool& pool);

    /// Takes the next bytes, which the caller keeps until this ends. Runs to its end even when stopped.
    static Task<> update(FileDigests& digests, std::string_view bytes);

    /// Returns the digests. Called once, after the last `update`.
    TwinSHA1::Digests finish();

private:
    static Task<> updateAside(FileDigests* digests, std::string_view bytes);
    void updateParts(std::string_view bytes);

    std::vector<B2PartStretch> parts_;
    std::optional<TwinSHA1> twin_;

    // Without it.
    SerialExecutor aside_;
    B2SHA1 whole_;
    B2SHA1 part_;
    std::vector<std::string> finished_;
    std::int64_t position_ = 0;
};
