#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace localb2 {

/// Ends every wait of the service at once.
class Stop {
public:
    void request()
    {
        const std::scoped_lock lock(mutex_);
        isRequested_ = true;
        requested_.notify_all();
    }

    bool isRequested() const
    {
        const std::scoped_lock lock(mutex_);
        return isRequested_;
    }

    /// Sleeps; false when the service stops meanwhile.
    bool wait(std::chrono::milliseconds duration)
    {
        std::unique_lock lock(mutex_);
        return !requested_.wait_for(lock, duration, [this] { return isRequested_; });
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable requested_;
    bool isRequested_ = false;
};

} // namespace localb2
