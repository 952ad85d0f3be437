#pragma once

#include "B2Kit/files/B2SHA1.h"
#include "B2Kit/files/TwinSHA1.h"
#include "B2Kit/uploads/B2PartPlan.h"
#include "async/Executor.h"
#include "async/Task.h"

#include <optional>
#include <string_view>
#include <vector>

/// The SHA-1 of a file and those of its parts, from one reading: both at once where the processor can do that, else on
/// two threads.
class FileDigests {
public:
    /// @param parts  of the whole file, one after the other.
    /// @param pool   has a thread for the second one.
    FileDigests(std::vector<B2PartStretch> parts, WorkerPool& pool);

    /// The next bytes, which the caller keeps until this ends. Runs to its end, stopped or not.
    static Task<> update(FileDigests& digests, std::string_view bytes);

    /// Called once, after the last `update`.
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
