#include "async/Executor.h"

#include <algorithm>
#include <atomic>
#include <utility>

WorkerPool::WorkerPool(unsigned threadCount)
{
    for (unsigned i = 0; i < threadCount; ++i)
        threads_.emplace_back([this] { run(); });
}

WorkerPool::~WorkerPool()
{
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
    }
    wake_.notify_all();
    for (auto& thread : threads_)
        thread.join();
}

void WorkerPool::submit(void (*function)(void*), void* context)
{
    {
        const std::lock_guard lock(mutex_);
        jobs_.push_back({function, context});
    }
    wake_.notify_one();
}

WorkerPool& WorkerPool::shared()
{
    // Leaked on purpose: tasks may still end while static objects are destroyed.
    static auto* const pool = new WorkerPool(std::clamp(std::thread::hardware_concurrency(), 2U, 8U));
    return *pool;
}

WorkerPool& WorkerPool::blocking()
{
    constexpr unsigned threadCount = 4;
    static auto* const pool = new WorkerPool(threadCount);
    return *pool;
}

void WorkerPool::run()
{
    std::unique_lock lock(mutex_);
    for (;;) {
        wake_.wait(lock, [this] { return isStopping_ || !jobs_.empty(); });
        if (jobs_.empty())
            return;
        const Job job = jobs_.front();
        jobs_.pop_front();
        lock.unlock();
        job.function(job.context);
        lock.lock();
    }
}

/// Shared between the executor and a drain that may be running: the last coroutine of an actor can destroy the actor
/// and with it the executor it runs on, so the drain keeps the state alive until it has returned.
struct SerialExecutor::State {
    explicit State(WorkerPool& workers)
        : pool(workers)
    {
    }

    void retain() { ++owners; }
    void release()
    {
        if (--owners == 0)
            delete this;
    }

    static void drain(void* context);

    WorkerPool& pool;
    std::mutex mutex;
    std::deque<std::coroutine_handle<>> queue;
    bool isBusy = false;
    std::atomic<int> owners = 1;
};

SerialExecutor::SerialExecutor(WorkerPool& pool)
    : state_(new State(pool))
{
}

SerialExecutor::~SerialExecutor()
{
    state_->release();
}

void SerialExecutor::post(std::coroutine_handle<> coroutine)
{
    bool startsDrain = false;
    {
        const std::lock_guard lock(state_->mutex);
        state_->queue.push_back(coroutine);
        startsDrain = !std::exchange(state_->isBusy, true);
        if (startsDrain)
            state_->retain();
    }
    if (startsDrain)
        state_->pool.submit(&State::drain, state_);
}

void SerialExecutor::State::drain(void* context)
{
    auto* const state = static_cast<State*>(context);
    // After a batch the thread serves other actors.
    constexpr int batch = 64;
    for (int i = 0; i < batch; ++i) {
        std::coroutine_handle<> next;
        {
            std::unique_lock lock(state->mutex);
            if (state->queue.empty()) {
                state->isBusy = false;
                lock.unlock();
                state->release();
                return;
            }
            next = state->queue.front();
            state->queue.pop_front();
        }
        next.resume();
    }
    state->pool.submit(&State::drain, state);
}
