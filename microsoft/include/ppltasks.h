// Stands in for the header of the task library, out of which std::async takes a task that gives nothing.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace Concurrency
{

template <typename Result> class task;

/// Begun on a thread of its own. Copies are the same task; one that nobody waits for goes on by itself.
template <> class task<void>
{
public:
    task() = default;
    template <typename Function> explicit task(const Function& function) : state_(std::make_shared<State>())
    {
        std::thread(
            [function, state = state_]
            {
                function(); // std::async's own, which keeps exceptions to itself
                const std::scoped_lock lock(state->mutex);
                state->done = true;
                state->ended.notify_all();
            })
            .detach();
    }

    void wait() const
    {
        std::unique_lock lock(state_->mutex);
        state_->ended.wait(lock, [this] { return state_->done; });
    }

private:
    struct State
    {
        std::mutex mutex; // guards done
        std::condition_variable ended;
        bool done = false;
    };

    std::shared_ptr<State> state_;
};

template <typename Function> task<void> create_task(const Function& function)
{
    return task<void>(function);
}

} // namespace Concurrency
