#pragma once

#include <mutex>

/// A flag that one thread raises and others read: "skip this and go on". Stays raised.
class AbandonFlag {
public:
    void raise()
    {
        const std::lock_guard lock(mutex_);
        raised_ = true;
    }

    bool isRaised() const
    {
        const std::lock_guard lock(mutex_);
        return raised_;
    }

private:
    mutable std::mutex mutex_;
    bool raised_ = false;
};
