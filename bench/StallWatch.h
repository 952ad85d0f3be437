#pragma once

#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

/// Measures how long the main thread was blocked, phase by phase: the longest gaps between the ticks of a timer.
class StallWatch final {
public:
    struct Phase {
        std::string name;
        std::int64_t longestMicroseconds = 0;
    };

    StallWatch()
    {
        timer_.setTimerType(Qt::PreciseTimer);
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { tick(); });
    }

    void begin(std::string phase)
    {
        if (!phases_.empty())
            tick();
        phases_.push_back({std::move(phase), 0});
        sinceTick_.start();
        timer_.start(1);
    }

    void end()
    {
        tick();
        timer_.stop();
    }

    const std::vector<Phase>& phases() const { return phases_; }

private:
    void tick()
    {
        auto& longest = phases_.back().longestMicroseconds;
        longest = std::max<std::int64_t>(longest, sinceTick_.nsecsElapsed() / 1000);
        sinceTick_.start();
    }

    QTimer timer_;
    QElapsedTimer sinceTick_;
    std::vector<Phase> phases_;
};
