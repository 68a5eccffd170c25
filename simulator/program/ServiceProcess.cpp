#include "simulator/program/ServiceProcess.h"

#include "simulator/program/ScenarioFailure.h"
#include "simulator/run/FactsJson.h"
#include "simulator/timeline/Timeline.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace sim
{

namespace
{

constexpr std::chrono::seconds answerLimit{30};
constexpr std::chrono::seconds endLimit{10};
constexpr CauseId causesOfOneProcess = 10'000'000; // each process numbers its causes within a range of its own

bool IsAnswer(std::string_view line)
{
    return line == "ready" || line == "ok" || line == "error" || line.starts_with("error ");
}

} // namespace

ServiceProcess::ServiceProcess(std::wstring program, std::string bus)
    : program_(std::move(program)), bus_(std::move(bus))
{
}

ServiceProcess::~ServiceProcess()
{
    const std::scoped_lock lock(operation_);
    if (process_)
    {
        EndLocked();
    }
}

void ServiceProcess::Start()
{
    const std::scoped_lock lock(operation_);
    if (process_)
    {
        throw ScenarioFailure("the service runs already");
    }
    outputEnded_ = false;
    const CauseId firstCause = ++starts_ * causesOfOneProcess;
    process_ = std::make_unique<ChildProcess>(
        program_, std::vector<std::wstring>{L"--bus", FromUtf8(bus_), L"--facts", std::to_wstring(firstCause)});
    reader_ = std::thread(&ServiceProcess::Read, this, std::ref(*process_));
    const std::string answer = WaitForAnswer("start");
    if (answer != "ready")
    {
        EndLocked();
        throw ScenarioFailure("the service did not start: " + answer);
    }
}

void ServiceProcess::Stop()
{
    const std::scoped_lock lock(operation_);
    CommandLocked("stop");
    process_->WaitForEnd(endLimit);
    EndLocked();
}

bool ServiceProcess::Runs() const
{
    const std::scoped_lock lock(operation_);
    return process_ != nullptr;
}

void ServiceProcess::Command(std::string_view line)
{
    const std::scoped_lock lock(operation_);
    CommandLocked(line);
}

void ServiceProcess::CommandLocked(std::string_view line)
{
    if (!process_)
    {
        throw ScenarioFailure("the service does not run");
    }
    SetCommandCause(CurrentCause());
    process_->WriteLine(line);
    const std::string answer = WaitForAnswer(line);
    SetCommandCause(0);
    if (answer != "ok")
    {
        throw ScenarioFailure("the service answered to \"" + std::string(line) + "\": " + answer);
    }
}

void ServiceProcess::Read(ChildProcess& process)
{
    while (const std::optional<std::string> line = process.ReadLine())
    {
        if (IsAnswer(*line))
        {
            Answered(*line);
        }
        else
        {
            Tell(*line);
        }
    }
    const std::scoped_lock lock(answerMutex_);
    outputEnded_ = true;
    answered_.notify_all();
}

/// A line is what the service tells, and its facts behind a tabulator.
void ServiceProcess::Tell(const std::string& line)
{
    const std::size_t tabulator = std::min(line.find('\t'), line.size());
    EntryFacts facts;
    if (tabulator < line.size())
    {
        facts = FactsFromLine(line.substr(tabulator + 1));
    }
    if (facts.cause == 0)
    {
        const std::scoped_lock lock(answerMutex_);
        facts.cause = commandCause_;
    }
    Timeline::Instance().Add("service", line.substr(0, tabulator), std::move(facts));
}

void ServiceProcess::SetCommandCause(CauseId cause)
{
    const std::scoped_lock lock(answerMutex_);
    commandCause_ = cause;
}

void ServiceProcess::Answered(const std::string& line)
{
    const std::scoped_lock lock(answerMutex_);
    answers_.push_back(line);
    answered_.notify_all();
}

std::string ServiceProcess::WaitForAnswer(std::string_view command)
{
    std::unique_lock lock(answerMutex_);
    answered_.wait_for(lock, answerLimit, [this] { return !answers_.empty() || outputEnded_; });
    if (answers_.empty())
    {
        throw ScenarioFailure("the service gave no answer to \"" + std::string(command) + "\"");
    }
    std::string answer = std::move(answers_.front());
    answers_.pop_front();
    return answer;
}

void ServiceProcess::EndLocked()
{
    process_->Terminate(); // which does nothing to one that has ended
    reader_.join();
    process_.reset();
    answers_.clear();
}

} // namespace sim
