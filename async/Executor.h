#pragma once

#include <condition_variable>
#include <coroutine>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

/// Resumes coroutines one at a time, in the order of posting.
class Executor {
public:
    virtual ~Executor() = default;

    /// Resumes the coroutine later; never inline. From any thread.
    virtual void post(std::coroutine_handle<> coroutine) = 0;
};

/// Plain worker threads. Used through `SerialExecutor`.
class WorkerPool {
public:
    explicit WorkerPool(unsigned threadCount);

    /// Runs what was submitted, then joins the threads.
    ~WorkerPool();

    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// Runs `function(context)` on one of the threads. From any thread.
    void submit(void (*function)(void*), void* context);

    /// The pool of the process, which is never destroyed.
    static WorkerPool& shared();

    /// Threads for work that blocks, so that actors never wait behind a disk. Never destroyed.
    static WorkerPool& blocking();

private:
    struct Job {
        void (*function)(void*);
        void* context;
    };

    void run();

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Job> jobs_;
    bool isStopping_ = false;
    std::vector<std::thread> threads_;
};

/// Runs coroutines one after another on a pool: the executor of an actor.
///
/// Must outlive every coroutine posted to it: destroy it only after its last task has ended.
class SerialExecutor final : public Executor {
public:
    explicit SerialExecutor(WorkerPool& pool = WorkerPool::shared());
    ~SerialExecutor() override;

    void post(std::coroutine_handle<> coroutine) override;

private:
    struct State;

    State* state_;
};

/// A class whose member coroutines start on an executor of its own: its home.
///
/// The caller of such a member resumes on its own executor. Any coroutine whose first parameter is an actor by
/// reference counts as its member; a free coroutine that must stay on its caller's executor takes a pointer.
class Actor {
public:
    explicit Actor(Executor& home)
        : home_(&home)
    {
    }

    Executor* home() const noexcept { return home_; }

private:
    Executor* home_;
};
