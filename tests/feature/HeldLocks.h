#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace test
{

/// Which of some locks are held whenever the thread that makes this tells the timeline something, as long as it lives.
///
/// One object at a time in a process, and nobody else may listen to the timeline meanwhile. The locks are tried by
/// another thread, so one that is recursive counts as held too.
class HeldLocks
{
public:
    HeldLocks();
    ~HeldLocks();

    template <typename Mutex> void Watch(std::string name, Mutex& mutex)
    {
        const std::scoped_lock lock(mutex_);
        locks_.emplace_back(std::move(name),
                            [&mutex] { return !std::unique_lock(mutex, std::try_to_lock).owns_lock(); });
    }

    /// What the thread told, each as "<who> <what> [<locks that were held>]", their names in the order of `Watch`.
    std::vector<std::string> Story() const;

    HeldLocks(const HeldLocks&) = delete;
    HeldLocks& operator=(const HeldLocks&) = delete;

private:
    std::string NamesOfHeld() const;

    const std::uint32_t thread_;
    mutable std::mutex mutex_; // guards the fields below
    std::vector<std::pair<std::string, std::function<bool()>>> locks_;
    std::vector<std::string> story_;
};

} // namespace test
