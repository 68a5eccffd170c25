#include "tests/support/Watchdog.h"

#include "simulator/timeline/Timeline.h"

#include <windows.h>

#include <tlhelp32.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace test
{

namespace
{

using namespace std::chrono_literals;

/// Walks a snapshot's records, for which Toolhelp has one pair of functions each.
template <typename Record, typename Visit>
void ForEach(DWORD kind, BOOL(WINAPI* first)(HANDLE, Record*), BOOL(WINAPI* next)(HANDLE, Record*), const Visit& visit)
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(kind, GetCurrentProcessId());
    Record record{};
    record.dwSize = sizeof(record);
    for (BOOL more = first(snapshot, &record); more; more = next(snapshot, &record))
    {
        visit(record);
    }
    CloseHandle(snapshot);
}

std::vector<DWORD> ThreadIds()
{
    std::vector<DWORD> ids;
    ForEach<THREADENTRY32>(TH32CS_SNAPTHREAD, Thread32First, Thread32Next,
                           [&](const THREADENTRY32& entry)
                           {
                               if (entry.th32OwnerProcessID == GetCurrentProcessId() &&
                                   entry.th32ThreadID != GetCurrentThreadId())
                               {
                                   ids.push_back(entry.th32ThreadID);
                               }
                           });
    return ids;
}

using Addresses = std::vector<std::uint64_t>;

/// The instruction pointer and behind it the top of the stack, on which the return addresses are; empty when the thread
/// cannot be looked at. Nothing that takes a lock may happen while it is suspended: it might hold that lock.
Addresses LookAt(DWORD threadId)
{
    constexpr std::size_t stackWords = 512;
    Addresses words(1 + stackWords);
    const HANDLE thread = OpenThread(THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT, FALSE, threadId);
    if (thread == nullptr)
    {
        return {};
    }
    CONTEXT context{};
    context.ContextFlags = CONTEXT_CONTROL;
    SIZE_T bytesRead = 0;
    SuspendThread(thread);
    const bool known = GetThreadContext(thread, &context);
    words[0] = context.Rip;
    ReadProcessMemory(GetCurrentProcess(), reinterpret_cast<const void*>(context.Rsp), &words[1],
                      stackWords * sizeof(words[0]), &bytesRead);
    ResumeThread(thread);
    CloseHandle(thread);
    words.resize(known ? 1 + bytesRead / sizeof(words[0]) : 0);
    return words;
}

std::vector<MODULEENTRY32W> Modules()
{
    std::vector<MODULEENTRY32W> modules;
    ForEach<MODULEENTRY32W>(TH32CS_SNAPMODULE, Module32FirstW, Module32NextW,
                            [&](const MODULEENTRY32W& entry) { modules.push_back(entry); });
    return modules;
}

/// Module and offset of an address; empty when it is in no module.
std::string Place(const std::vector<MODULEENTRY32W>& modules, std::uint64_t address)
{
    for (const MODULEENTRY32W& module : modules)
    {
        const auto base = reinterpret_cast<std::uint64_t>(module.modBaseAddr);
        if (address >= base && address - base < module.modBaseSize)
        {
            std::ostringstream place;
            place << sim::ToUtf8(module.szModule) << "+0x" << std::hex << address - base;
            return place.str();
        }
    }
    return {};
}

bool IsOfTheSystem(const MODULEENTRY32W& module)
{
    std::wstring folder(MAX_PATH, L'\0');
    folder.resize(GetWindowsDirectoryW(folder.data(), MAX_PATH));
    return _wcsnicmp(module.szExePath, folder.c_str(), folder.size()) == 0;
}

/// Where a thread is, and which addresses on its stack may be callers, those in the system's modules left out.
std::string Places(const std::vector<MODULEENTRY32W>& modules, DWORD threadId)
{
    std::vector<MODULEENTRY32W> ours;
    std::ranges::copy_if(modules, std::back_inserter(ours), std::not_fn(IsOfTheSystem));
    const Addresses words = LookAt(threadId);
    std::string places = words.empty() ? " a place unknown" : " " + Place(modules, words.front());
    for (std::size_t i = 1; i < words.size(); ++i)
    {
        const std::string place = Place(ours, words[i]);
        places += place.empty() ? "" : " " + place;
    }
    return places;
}

std::map<std::uint32_t, std::string> LastEntries()
{
    std::map<std::uint32_t, std::string> last;
    for (const sim::TimelineEntry& entry : sim::Timeline::Instance().Entries())
    {
        last[entry.threadId] = entry.who + " " + entry.what;
    }
    return last;
}

void PrintThreads()
{
    std::ostringstream report;
    report << "Watchdog: the time is over; the threads:\n";
    const auto lastEntries = LastEntries();
    const auto modules = Modules();
    for (const DWORD id : ThreadIds())
    {
        const auto last = lastEntries.find(id);
        report << "  " << id << ": " << (last == lastEntries.end() ? "no entry" : last->second) << "\n    at"
               << Places(modules, id) << "\n";
    }
    std::cerr << report.str() << std::flush;
}

void EndProcess()
{
    TerminateProcess(GetCurrentProcess(), Watchdog::exitCode);
}

} // namespace

Watchdog::Watchdog(std::chrono::milliseconds limit) : thread_([this, limit] { Watch(limit); }) {}

Watchdog::~Watchdog()
{
    {
        const std::scoped_lock lock(mutex_);
        done_ = true;
    }
    ended_.notify_one();
    thread_.join();
}

void Watchdog::Watch(std::chrono::milliseconds limit)
{
    std::unique_lock lock(mutex_);
    if (ended_.wait_for(lock, limit, [this] { return done_; }))
    {
        return;
    }
    // The report needs the locks of the timeline and the heap, which a thread that hangs may hold for ever.
    std::thread(
        []
        {
            PrintThreads();
            EndProcess();
        })
        .detach();
    ended_.wait_for(lock, 5s, [] { return false; });
    EndProcess();
}

} // namespace test
