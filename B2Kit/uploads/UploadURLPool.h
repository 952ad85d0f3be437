#pragma once

#include "async/Executor.h"
#include "async/Task.h"

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

/// B2 honours an upload URL for 24 hours; one older than this is not used.
inline constexpr std::chrono::hours longestTargetAge{23};

/// Leases upload targets, each to one upload at a time.
///
/// An actor. A target comes back only after a success: after any failure the next attempt leases another, and fetches
/// a fresh one when none is idle.
template <class Target>
class UploadURLPool final : public Actor {
public:
    /// The wall clock: a target also ages while the computer sleeps, when the steady clock stops.
    using Clock = std::chrono::system_clock;

    struct Lease {
        Target target;
        Clock::time_point issuedAt;
    };

    /// @param fetch       obtains a fresh target.
    /// @param maximumAge  a target as old as this is never used.
    UploadURLPool(std::shared_ptr<Executor> executor, std::function<Task<Target>()> fetch,
        std::chrono::duration<double> maximumAge, std::function<Clock::time_point()> now = Clock::now)
        : Actor(*executor)
        , executor_(std::move(executor))
        , fetch_(std::move(fetch))
        , maximumAge_(maximumAge)
        , now_(std::move(now))
    {
    }

    /// Leases the idle target returned last, or a fresh one. Two calls can fetch two targets at once.
    Task<Lease> acquire()
    {
        while (!available_.empty()) {
            Lease lease = std::move(available_.back());
            available_.pop_back();
            if (isYoung(lease))
                co_return lease;
        }
        Target target = co_await fetch_();
        co_return Lease{std::move(target), now_()};
    }

    /// Gives a lease back after a successful use.
    Task<> release(Lease lease)
    {
        if (isYoung(lease))
            available_.push_back(std::move(lease));
        co_return;
    }

    /// Drops every idle lease of the target.
    Task<> discard(Target target)
    {
        std::erase_if(available_, [&](const Lease& lease) { return lease.target == target; });
        co_return;
    }

    Task<> removeAll()
    {
        available_.clear();
        co_return;
    }

private:
    bool isYoung(const Lease& lease) const { return now_() - lease.issuedAt < maximumAge_; }

    const std::shared_ptr<Executor> executor_;
    const std::function<Task<Target>()> fetch_;
    const std::chrono::duration<double> maximumAge_;
    const std::function<Clock::time_point()> now_;
    std::vector<Lease> available_;
};
