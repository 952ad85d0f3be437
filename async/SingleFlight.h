#pragma once

#include "async/Group.h"

#include <memory>
#include <vector>

/// Many waiters, one run: a waiter that joins while a run is under way shares its outcome.
///
/// The run is cancelled when its last waiter has left. Used from one executor only, its owner's; the owner outlives
/// the run, because each waiter holds it.
template <class T>
class SingleFlight {
    struct Run {
        std::vector<OneShot<T>> waiters;
        int interested = 0;
        std::stop_source stop;
    };

    /// Shared with the run itself, which may end after its waiters and this object have gone.
    struct Current {
        std::shared_ptr<Run> run;
    };

public:
    /// @param start  makes the task of a new run; not called when one is under way.
    template <class Start>
    Task<T> join(Start start)
    {
        Executor& executor = *co_await currentExecutor();
        co_await checkCancelled();
        const auto current = current_;
        if (!current->run) {
            current->run = std::make_shared<Run>();
            spawn(executor, carryOut(current, current->run, std::move(start)), current->run->stop);
        }
        const auto run = current->run;
        OneShot<T> mine;
        run->waiters.push_back(mine);
        ++run->interested;
        struct Leave {
            std::shared_ptr<Current> current;
            std::shared_ptr<Run> run;
            ~Leave()
            {
                if (--run->interested > 0)
                    return;
                if (current->run == run)
                    current->run = nullptr;
                run->stop.request_stop();
            }
        };
        const Leave leave{current, run};
        co_return co_await mine.wait();
    }

private:
    template <class Start>
    static Task<> carryOut(std::shared_ptr<Current> current, std::shared_ptr<Run> run, Start start)
    {
        std::optional<T> value;
        std::exception_ptr error;
        try {
            value.emplace(co_await start());
        } catch (...) {
            error = std::current_exception();
        }
        if (current->run == run)
            current->run = nullptr;
        for (auto& waiter : run->waiters) {
            if (error)
                waiter.fail(error);
            else
                waiter.set(*value);
        }
    }

    std::shared_ptr<Current> current_ = std::make_shared<Current>();
};
