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

/// The name of a thread that tells such a thing; empty when the entry does not give it away.
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
