#pragma once

#include "B2Kit/transport/B2Transport.h"

#include <cstdint>
#include <map>
#include <mutex>

/// Turns the progress of parts into that of their file. Used from any thread; a report waits for nothing but the
/// callback, and the figures arrive in order.
class ByteTally {
public:
    /// @param baseline    bytes of the parts that are on B2 already.
    /// @param total       size of the file.
    /// @param onProgress  may be empty.
    ByteTally(std::int64_t baseline, std::int64_t total, B2Progress onProgress);

    /// @param bytes  of that part, in flight or done. A retry starts at 0 again, so progress goes back.
    void report(int partNumber, std::int64_t bytes);

private:
    const std::int64_t baseline_;
    const std::int64_t total_;
    const B2Progress onProgress_;
    std::mutex mutex_;
    std::map<int, std::int64_t> sentByPart_;
    std::int64_t sent_ = 0; ///< The sum of `sentByPart_`.
};
