#pragma once

#include "B2Kit/uploads/B2PartRetryEvent.h"

#include <atomic>
#include <utility>

// Inside B2Kit: what the caller of one transfer hears of its retries.

/// Tells each wait, and once when it is over. May be called on any thread.
class B2RetryTeller {
public:
    explicit B2RetryTeller(B2OnRetry onRetry, int partNumber = 0)
        : onRetry_(std::move(onRetry))
        , partNumber_(partNumber)
    {
    }

    void backsOff(int attempt, int maxAttempts, double delaySeconds, std::string reason)
    {
        isWaiting_ = true;
        if (onRetry_)
            onRetry_(B2PartBackingOff{partNumber_, attempt, maxAttempts, delaySeconds, std::move(reason)});
    }

    void goesOn()
    {
        if (isWaiting_.exchange(false) && onRetry_)
            onRetry_(B2PartRecovered{partNumber_});
    }

private:
    const B2OnRetry onRetry_;
    const int partNumber_;
    std::atomic<bool> isWaiting_ = false;
};
