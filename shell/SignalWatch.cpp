#include "shell/SignalWatch.h"

#include <QSocketNotifier>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

// A signal handler may do little more than write; the other end of the pipe wakes the event loop.
std::array<int, 2> wakePipe{-1, -1};

void noteSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const auto written = write(wakePipe[1], &byte, 1);
}

constexpr std::array watchedSignals{SIGINT, SIGTERM, SIGHUP};

} // namespace

SignalWatch::SignalWatch()
{
    if (pipe2(wakePipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    auto* const notifier = new QSocketNotifier(wakePipe[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        std::array<char, 16> drained{};
        [[maybe_unused]] const auto count = read(wakePipe[0], drained.data(), drained.size());
        Q_EMIT received();
    });
    for (const int number : watchedSignals)
        std::signal(number, noteSignal);
}

SignalWatch::~SignalWatch()
{
    for (const int number : watchedSignals)
        std::signal(number, SIG_DFL);
    for (int& end : wakePipe) {
        if (end >= 0)
            close(end);
        end = -1;
    }
}
