#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace test
{

/// Ends the process with exit code 3 when it lives for longer than its limit, after printing where each thread stands:
/// its last entry in the timeline and, as far as they can be had, its instruction pointer and the likely return addresses
/// on its stack, as module and offset.
class Watchdog
{
public:
    static constexpr unsigned exitCode = 3;

    explicit Watchdog(std::chrono::milliseconds limit);
    ~Watchdog();

    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

private:
    void Watch(std::chrono::milliseconds limit);

    std::mutex mutex_; // guards done_
    std::condition_variable ended_;
    bool done_ = false;
    std::thread thread_;
};

} // namespace test
