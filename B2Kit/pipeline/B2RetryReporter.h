#pragma once

#include "B2Kit/uploads/B2PartRetryEvent.h"

#include <atomic>
#include <utility>

// Inside B2Kit: reports the retries of one transfer to its caller.

/// Reports each wait, and the end of the last one once. May be called on any thread.
class B2RetryReporter {
public:
    explicit B2RetryReporter(B2OnRetry onRetry, int partNumber = 0)
        : onRetry_(std::move(onRetry))
        , partNumber_(partNumber)
    {
    }

    void backingOff(int attempt, int maxAttempts, double delaySeconds, std::string reason)
    {
        isWaiting_ = true;
        if (onRetry_)
            onRetry_(B2PartBackingOff{partNumber_, attempt, maxAttempts, delaySeconds, std::move(reason)});
    }

    void recovered()
    {
        if (isWaiting_.exchange(false) && onRetry_)
            onRetry_(B2PartRecovered{partNumber_});
    }

private:
    const B2OnRetry onRetry_;
    const int partNumber_;
    std::atomic<bool> isWaiting_ = false;
};
