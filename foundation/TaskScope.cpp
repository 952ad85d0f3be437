#include "foundation/TaskScope.h"

#include "foundation/MainExecutor.h"
#include "foundation/log/ActivityLog.h"

#include <cstdint>
#include <map>
#include <stop_token>
#include <utility>
#include <vector>

/// Shared with the tasks, which may end after the scope was destroyed.
struct TaskScope::State {
    std::map<std::uint64_t, std::stop_source> running;
    std::uint64_t nextID = 0;
    std::vector<OneShot<void>> drains;

    void end(std::uint64_t id, const std::exception_ptr& error);
};

namespace {

void report(const std::exception_ptr& error)
{
    std::string reason;
    try {
        std::rethrow_exception(error);
    } catch (const Cancelled&) {
        return;
    } catch (const std::exception& failure) {
        reason = failure.what();
    } catch (...) {
        reason = "Unknown failure";
    }
    // The process's log and not one of the owner's: a failure that no owner expected must not be lost because the
    // owner was made without a log.
    ActivityLog::shared().record({B2LogLevel::error, "app", "A step ended before it was done", std::move(reason)});
}

/// A task that was stopped before it began may have lost its owner already.
Task<> beginUnlessStopped(Task<> task)
{
    co_await checkCancelled();
    co_await std::move(task);
}

} // namespace

void TaskScope::State::end(std::uint64_t id, const std::exception_ptr& error)
{
    running.erase(id);
    if (error)
        report(error);
    if (!running.empty())
        return;
    for (const auto& drained : std::exchange(drains, {}))
        drained.set();
}

TaskScope::TaskScope()
    : state_(std::make_shared<State>())
{
}

TaskScope::~TaskScope()
{
    cancelAll();
}

SpawnedTask TaskScope::start(Task<> task)
{
    const std::uint64_t id = state_->nextID++;
    std::stop_source stop;
    state_->running.emplace(id, stop);
    return spawn(
        MainExecutor::shared(), beginUnlessStopped(std::move(task)),
        [state = state_, id](const std::exception_ptr& error) { state->end(id, error); }, stop);
}

void TaskScope::cancelAll()
{
    // A stop callback may start or end tasks.
    for (auto& [id, stop] : std::map(state_->running))
        stop.request_stop();
}

std::size_t TaskScope::running() const
{
    return state_->running.size();
}

Task<> TaskScope::drain()
{
    const auto state = state_;
    while (!state->running.empty()) {
        const OneShot<void> drained;
        state->drains.push_back(drained);
        co_await drained.wait();
    }
}
