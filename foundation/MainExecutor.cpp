#include "foundation/MainExecutor.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>

#include <chrono>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr auto sliceLength = 4ms;

QEvent::Type sliceEvent()
{
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

} // namespace

MainExecutor::MainExecutor(QObject* parent)
    : QObject(parent)
{
}

MainExecutor& MainExecutor::shared()
{
    // Leaked on purpose: other threads may still post while static objects are destroyed.
    static auto* const executor = [] {
        auto* const made = new MainExecutor;
        const auto* const application = QCoreApplication::instance();
        if (application && application->thread() != made->thread())
            made->moveToThread(application->thread());
        return made;
    }();
    return *executor;
}

void MainExecutor::post(std::coroutine_handle<> coroutine)
{
    const std::lock_guard lock(mutex_);
    queue_.push_back(coroutine);
    if (!std::exchange(isAwake_, true))
        QCoreApplication::postEvent(this, new QEvent(sliceEvent()));
}

bool MainExecutor::event(QEvent* event)
{
    {
        // A thread sanitizer does not see the lock inside Qt that the event came through; it sees this one.
        const std::lock_guard lock(mutex_);
    }
    if (event->type() != sliceEvent())
        return QObject::event(event);
    runSlice();
    return true;
}

void MainExecutor::runSlice()
{
    const auto end = std::chrono::steady_clock::now() + sliceLength;
    do {
        std::coroutine_handle<> next;
        {
            const std::lock_guard lock(mutex_);
            if (queue_.empty()) {
                isAwake_ = false;
                return;
            }
            next = queue_.front();
            queue_.pop_front();
        }
        next.resume();
    } while (std::chrono::steady_clock::now() < end);
    // A lower priority than that of paint requests, so that a queue that is never empty does not stop the painting.
    QCoreApplication::postEvent(this, new QEvent(sliceEvent()), Qt::LowEventPriority - 1);
}
