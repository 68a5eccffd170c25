#pragma once

#include "simulator/program/ChildProcess.h"
#include "simulator/timeline/Cause.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace sim
{

/// The connectivity service, as a process of its own that is started and stopped at will. What it writes goes to the
/// timeline, told by "service". Operations throw ScenarioFailure when they cannot be carried out.
///
/// Any thread may call it; one operation runs at a time. A thread of its own reads while the process runs.
class ServiceProcess
{
public:
    /// `program`: file of the service's program; `bus`: the IPC bus that it serves.
    ServiceProcess(std::wstring program, std::string bus);
    ~ServiceProcess();

    /// Starts the process, and waits until clients can connect.
    void Start();
    void Stop();
    bool Runs() const;

    /// Gives the service a command, and waits until it has been carried out.
    void Command(std::string_view line);

    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

private:
    void CommandLocked(std::string_view line);
    void Read(ChildProcess& process);
    void Answered(const std::string& line);
    std::string WaitForAnswer(std::string_view command);
    void EndLocked();

    void Tell(const std::string& line);
    void SetCommandCause(CauseId cause);

    const std::wstring program_;
    const std::string bus_;
    mutable std::mutex operation_; // held by the operation that runs; guards process_ and reader_; before answerMutex_
    std::unique_ptr<ChildProcess> process_;
    std::uint32_t starts_ = 0;
    std::thread reader_;
    std::mutex answerMutex_; // guards the fields below
    std::condition_variable answered_;
    std::deque<std::string> answers_;
    CauseId commandCause_ = 0; // of the command that is being carried out
    bool outputEnded_ = false;
};

} // namespace sim
