#include "simulator/program/ThreadNames.h"

#include <windows.h>

#include <sstream>

namespace sim
{

namespace
{

/// "ipc CLIENT" for the entry "deliver CLIENT MESSAGE", which a callback thread tells before each callback.
std::string IpcThreadName(const TimelineEntry& entry)
{
    std::istringstream words(entry.what);
    std::string verb;
    std::string client;
    words >> verb >> client;
    return verb == "deliver" ? "ipc " + client : "";
}

std::string TipsThreadName(const TimelineEntry& entry)
{
    if (entry.what.starts_with("reply "))
    {
        return "tips";
    }
    return entry.what == "auto-closed" ? "tips clock" : "loop";
}

/// The name of a thread that tells such a thing; empty when the entry does not give it away. The module's loop is known
/// by elimination: the other threads on which endpoints are dealt with or tips are set up tell something else first.
std::string LearnName(const TimelineEntry& entry)
{
    if (entry.who == "notify")
    {
        return "notify";
    }
    if (entry.who == "ipc")
    {
        return IpcThreadName(entry);
    }
    if (entry.who == "service")
    {
        return "service";
    }
    if (entry.who == "tips")
    {
        return TipsThreadName(entry);
    }
    if (entry.who == "audio" && entry.what.starts_with("CoCreateInstance "))
    {
        return "loop";
    }
    return entry.who == "log3" && entry.what.starts_with("CooperateThreadFunc thread") ? "worker" : "";
}

} // namespace

void ThreadNames::NameThisThread(const std::string& name)
{
    const std::scoped_lock lock(mutex_);
    names_[GetCurrentThreadId()] = name;
}

std::string ThreadNames::NameOf(const TimelineEntry& entry)
{
    const std::scoped_lock lock(mutex_);
    const auto known = names_.find(entry.threadId);
    if (known != names_.end())
    {
        return known->second;
    }
    const std::string name = LearnName(entry);
    if (name.empty())
    {
        return "thread " + std::to_string(entry.threadId);
    }
    names_.emplace(entry.threadId, name);
    return name;
}

} // namespace sim
