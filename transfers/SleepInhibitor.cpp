#include "transfers/SleepInhibitor.h"

#include "async/OneShot.h"
#include "transfers/TransferQueue.h"

#include <systemd/sd-bus.h>

#include <fcntl.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

struct CloseBus {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
struct DropMessage {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};

} // namespace

SleepLock takeSleepLock()
{
    sd_bus* opened = nullptr;
    if (sd_bus_open_system(&opened) < 0)
        return nullptr;
    const std::unique_ptr<sd_bus, CloseBus> bus(opened);
    sd_bus_message* answered = nullptr;
    const int result = sd_bus_call_method(bus.get(), "org.freedesktop.login1", "/org/freedesktop/login1",
        "org.freedesktop.login1.Manager", "Inhibit", nullptr, &answered, "ssss", "sleep", "Kestrovan",
        "Files are being transferred", "block");
    const std::unique_ptr<sd_bus_message, DropMessage> answer(answered);
    int descriptor = -1;
    if (result < 0 || sd_bus_message_read(answer.get(), "h", &descriptor) < 0)
        return nullptr;
    // The message closes its own descriptor; the lock lasts until the last copy is closed.
    descriptor = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (descriptor < 0)
        return nullptr;
    return std::shared_ptr<const int>(new int(descriptor), [](const int* held) {
        ::close(*held);
        delete held;
    });
}

SleepInhibitor::SleepInhibitor(
    TransferQueue& queue, std::function<SleepLock()> take, std::chrono::milliseconds linger, QObject* parent)
    : QObject(parent)
    , queue_(queue)
    , take_(std::move(take))
{
    lingering_.setSingleShot(true);
    lingering_.setInterval(linger);
    connect(&lingering_, &QTimer::timeout, this, [this] { lock_.reset(); });
    connect(&queue_, &TransferQueue::runningChanged, this, &SleepInhibitor::follow);
    follow();
}

void SleepInhibitor::follow()
{
    if (!queue_.isRunning()) {
        lingering_.start();
        return;
    }
    lingering_.stop();
    if (lock_ || std::exchange(isTaking_, true))
        return;
    tasks_.start(runTake(this, take_));
}

Task<> SleepInhibitor::runTake(QPointer<SleepInhibitor> self, std::function<SleepLock()> take)
{
    const OneShot<SleepLock> taken;
    // Not on a shared thread: a bus that does not answer would block it for minutes.
    std::thread([take = std::move(take), taken] { taken.set(take()); }).detach();
    auto lock = co_await taken.wait([] {});
    if (!self)
        co_return;
    self->isTaking_ = false;
    if (self->queue_.isRunning() || self->lingering_.isActive())
        self->lock_ = std::move(lock);
}
