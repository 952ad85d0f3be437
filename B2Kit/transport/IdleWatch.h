#pragma once

#include <chrono>
#include <cstdint>

/// Distinguishes a stalled transfer from a slow one.
///
/// A transfer has stalled when it moved no byte for the limit, or less than a kilobyte in ten times the limit: without
/// the second rule a peer could hold it for ever with a byte a minute.
class IdleWatch {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    explicit IdleWatch(std::chrono::nanoseconds limit)
        : limit_(limit)
    {
    }

    /// Restarts the time, for example when the connection is established.
    void start(TimePoint now)
    {
        movedAt_ = now;
        crawlStart_ = now;
        crawlBytes_ = bytes_;
    }

    /// @param bytes  moved so far, in both directions.
    /// @returns true when the transfer has stalled.
    bool observe(TimePoint now, std::int64_t bytes)
    {
        if (bytes != bytes_) {
            bytes_ = bytes;
            movedAt_ = now;
        }
        constexpr std::int64_t crawl = 1000;
        if (bytes - crawlBytes_ >= crawl) {
            crawlBytes_ = bytes;
            crawlStart_ = now;
        }
        return now - movedAt_ >= limit_ || now - crawlStart_ >= 10 * limit_;
    }

private:
    std::chrono::nanoseconds limit_;
    std::int64_t bytes_ = 0;
    TimePoint movedAt_;
    std::int64_t crawlBytes_ = 0;
    TimePoint crawlStart_;
};
