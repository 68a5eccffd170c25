#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace sim
{

/// Ends the process, with the exit status 3, when it has not been destroyed in time: something hangs then. It has a
/// thread of its own. Any thread may call it.
class Watchdog
{
public:
    /// A limit of 0 watches nothing.
    explicit Watchdog(std::chrono::seconds limit);
    ~Watchdog();

    /// What begins now, for the message.
    void Begins(const std::string& what);

    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

private:
    void Watch(std::chrono::seconds limit);

    std::mutex mutex_; // guards done_ and what_
    std::condition_variable done_;
    bool isDone_ = false;
    std::string what_ = "the start";
    std::thread thread_;
};

} // namespace sim
