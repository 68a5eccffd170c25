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
    mutable std::mutex mutex; // guards the fields below
    mutable std::condition_variable added;
    std::vector<TimelineEntry> entries;
    Listener listener;

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

void Timeline::Add(std::string_view who, std::string_view what)
{
    const std::scoped_lock lock(state_->mutex);
    state_->entries.push_back(
        {std::chrono::steady_clock::now() - state_->start, GetCurrentThreadId(), std::string(who), std::string(what)});
    if (state_->listener)
    {
        state_->listener(state_->entries.back());
    }
    state_->added.notify_all();
}

void Timeline::Add(std::string_view who, std::wstring_view what)
{
    Add(who, std::string_view(ToUtf8(what)));
}

std::vector<TimelineEntry> Timeline::Entries() const
{
    const std::scoped_lock lock(state_->mutex);
    return state_->entries;
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
    const std::scoped_lock lock(state_->mutex);
    state_->entries.clear();
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
