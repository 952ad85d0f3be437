#pragma once

#include <cstdint>
#include <functional>
#include <mutex>

/// Lets through the progress reports that show something: a step of the whole, a start over, and the end.
///
/// May be called from any thread.
class ProgressThrottle {
public:
    /// Bytes done and bytes expected.
    using Update = std::function<void(std::int64_t done, std::int64_t total)>;

    /// The size of a step: a fraction of the whole, but never fewer bytes than the minimum.
    struct Step {
        double fractionOfTotal = 0;
        std::int64_t minimumStep = 0; ///< In bytes.
    };

    static constexpr Step forRow{0.005, 1'000'000};
    static constexpr Step forLog{0.1, 50'000'000};

    /// @param onUpdate  called outside the lock, on the thread of the report.
    ProgressThrottle(Step step, Update onUpdate);

    void report(std::int64_t done, std::int64_t total);

private:
    bool passes(std::int64_t done, std::int64_t total);

    const Step step_;
    const Update onUpdate_;
    std::mutex mutex_;
    std::int64_t lastReported_ = 0;
};
