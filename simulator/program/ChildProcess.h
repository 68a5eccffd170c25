#pragma once

#include "simulator/host/wire/Handle.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim
{

/// A process with pipes to its input and from its output. One thread may read while another one writes.
/// Errors throw std::system_error.
class ChildProcess
{
public:
    /// Starts a program; each argument stands in quotes, and must have none itself.
    ChildProcess(const std::wstring& program, const std::vector<std::wstring>& arguments);

    /// Ends the process if it still runs.
    ~ChildProcess();

    void WriteLine(std::string_view line);

    /// Waits for the next line of its output; nothing when the output has ended.
    std::optional<std::string> ReadLine();

    /// Waits until the process has ended. False when `limit` has passed before.
    bool WaitForEnd(std::chrono::milliseconds limit) const;
    void Terminate();

    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

private:
    Handle process_;
    Handle input_;
    Handle output_;
    std::string buffered_; // output that has been read, but not given out
};

} // namespace sim
