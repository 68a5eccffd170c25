#include "simulator/timeline/Timeline.h"

#include <windows.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace sim
{

struct Timeline::State
{
    const std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    mutable std::mutex mutex; // guards entries and listener
    mutable std::condition_variable added;
    std::vector<TimelineEntry> entries;
    Listener listener;

    // A leaf, which guards changes and waits: a listener may change what has a state, and is called under `mutex`.
    mutable std::mutex stateMutex;
    std::vector<StateChange> changes;
    std::vector<ThreadWait> waits;

    std::chrono::nanoseconds Now() const { return std::chrono::steady_clock::now() - start; }

    std::size_t CountLocked(const Predicate& matches) const
    {
        return static_cast<std::size_t>(std::ranges::count_if(entries, matches));
    }
};

namespace
{

Timeline::Predicate Equals(std::string_view who, std::string_view what)
{
    return [who, what](const TimelineEntry& entry)
    {
        return entry.who == who && entry.what == what;
    };
}

} // namespace

Timeline::Timeline() : state_(std::make_unique<State>()) {}

Timeline::~Timeline() = default;

Timeline& Timeline::Instance()
{
    // Never destroyed: threads of the module may still tell something while the process ends.
    static Timeline* const instance = new Timeline();
    return *instance;
}

void Timeline::Add(std::string_view who, std::string_view what, EntryFacts facts)
{
    facts.cause = facts.cause != 0 ? facts.cause : CurrentCause();
    const std::scoped_lock lock(state_->mutex);
    state_->entries.push_back(
        {state_->Now(), GetCurrentThreadId(), std::string(who), std::string(what), std::move(facts)});
    if (state_->listener)
    {
        state_->listener(state_->entries.back());
    }
    state_->added.notify_all();
}

void Timeline::Add(std::string_view who, std::wstring_view what, EntryFacts facts)
{
    Add(who, std::string_view(ToUtf8(what)), std::move(facts));
}

void Timeline::ChangeState(std::string_view track, std::string_view subject, std::string_view value)
{
    const std::scoped_lock lock(state_->stateMutex);
    state_->changes.push_back({state_->Now(), std::string(track), std::string(subject), std::string(value)});
}

std::size_t Timeline::BeginWait(std::string_view call, std::chrono::milliseconds limit)
{
    const std::scoped_lock lock(state_->stateMutex);
    state_->waits.push_back(
        {state_->Now(), std::chrono::nanoseconds(-1), GetCurrentThreadId(), std::string(call), limit, false});
    return state_->waits.size() - 1;
}

void Timeline::EndWait(std::size_t number, bool timedOut)
{
    const std::scoped_lock lock(state_->stateMutex);
    if (number < state_->waits.size()) // else it has been forgotten meanwhile
    {
        state_->waits[number].end = state_->Now();
        state_->waits[number].timedOut = timedOut;
    }
}

std::chrono::nanoseconds Timeline::SinceStart(std::chrono::steady_clock::time_point moment) const
{
    return moment - state_->start;
}

std::vector<TimelineEntry> Timeline::Entries() const
{
    const std::scoped_lock lock(state_->mutex);
    return state_->entries;
}

std::vector<StateChange> Timeline::StateChanges() const
{
    const std::scoped_lock lock(state_->stateMutex);
    return state_->changes;
}

std::vector<ThreadWait> Timeline::Waits() const
{
    const std::scoped_lock lock(state_->stateMutex);
    return state_->waits;
}

std::vector<std::string> Timeline::Texts(std::string_view who) const
{
    const std::scoped_lock lock(state_->mutex);
    std::vector<std::string> texts;
    for (const TimelineEntry& entry : state_->entries)
    {
        if (entry.who == who)
        {
            texts.push_back(entry.what);
        }
    }
    return texts;
}

std::size_t Timeline::Count(const Predicate& matches) const
{
    const std::scoped_lock lock(state_->mutex);
    return state_->CountLocked(matches);
}

std::size_t Timeline::Count(std::string_view who, std::string_view what) const
{
    return Count(Equals(who, what));
}

bool Timeline::WaitForCount(const Predicate& matches, std::size_t count, std::chrono::milliseconds limit) const
{
    std::unique_lock lock(state_->mutex);
    return state_->added.wait_for(lock, limit, [&] { return state_->CountLocked(matches) >= count; });
}

bool Timeline::WaitFor(std::string_view who, std::string_view what, std::chrono::milliseconds limit,
                       std::size_t count) const
{
    return WaitForCount(Equals(who, what), count, limit);
}

void Timeline::SetListener(Listener listener)
{
    const std::scoped_lock lock(state_->mutex);
    state_->listener = std::move(listener);
}

void Timeline::Clear()
{
    const std::scoped_lock lock(state_->mutex, state_->stateMutex);
    state_->entries.clear();
    state_->changes.clear();
    state_->waits.clear();
}

std::string ToUtf8(std::wstring_view text)
{
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), size, nullptr, nullptr);
    return utf8;
}

std::wstring FromUtf8(std::string_view text)
{
    const int length = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), size);
    return wide;
}

} // namespace sim
