#include "async/Timer.h"

#include "async/OneShot.h"

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

/// One thread that fires completions at their times. Lives as long as the process.
class TimerThread {
public:
    static TimerThread& shared()
    {
        static auto* const timer = new TimerThread;
        return *timer;
    }

    void add(Clock::time_point when, OneShot<void> completion)
    {
        const std::lock_guard lock(mutex_);
        entries_.emplace(when, std::move(completion));
        wake_.notify_one();
    }

private:
    TimerThread()
    {
        std::thread([this] { run(); }).detach();
    }

    void run();

    std::mutex mutex_;
    std::condition_variable wake_;
    /// A wait that was cancelled stays until its time: at most a few minutes, and firing it then does nothing.
    std::multimap<Clock::time_point, OneShot<void>> entries_;
};

void TimerThread::run()
{
    std::unique_lock lock(mutex_);
    for (;;) {
        if (entries_.empty()) {
            wake_.wait(lock);
            continue;
        }
        const auto first = entries_.begin();
        if (first->first > Clock::now()) {
            wake_.wait_until(lock, first->first);
            continue;
        }
        const auto completion = first->second;
        entries_.erase(first);
        lock.unlock();
        completion.set();
        lock.lock();
    }
}

} // namespace

Task<> sleepFor(std::chrono::nanoseconds duration)
{
    co_await checkCancelled();
    // A wait of years would overflow the clock.
    constexpr std::chrono::nanoseconds longest = std::chrono::hours(24 * 365);
    const OneShot<void> elapsed;
    TimerThread::shared().add(Clock::now() + std::clamp(duration, std::chrono::nanoseconds(0), longest), elapsed);
    co_await elapsed.wait();
}
