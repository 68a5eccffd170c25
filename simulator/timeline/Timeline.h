#pragma once

#include "simulator/timeline/Cause.h"
#include "simulator/timeline/TimelineApi.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sim
{

/// What an entry is about, for programs; its text says the same to people. docs/run-data.md lists kinds and values.
struct EntryFacts
{
    std::string kind{};                                        // such as "delivery begins"
    std::vector<std::pair<std::string, std::string>> values{}; // such as client and message, by name
    CauseId gives = 0;                                         // names this entry for those that come of it
    CauseId cause = 0;                                         // names the entry that it comes of
    std::optional<std::chrono::nanoseconds> happened{};        // when, if it was told later: as an entry's time
};

/// One thing that happened.
struct TimelineEntry
{
    std::chrono::nanoseconds time; // since the timeline's start, on the monotonic clock
    std::uint32_t threadId;        // the thread on which it happened
    std::string who;               // which stand-in tells it; see Timeline
    std::string what;              // UTF-8
    EntryFacts facts{};
};

/// A change of something that has a state at every moment, also where no entry tells of it.
struct StateChange
{
    std::chrono::nanoseconds time; // as an entry's
    std::string track;             // "endpoint", "default" or "volume"
    std::string subject;           // whose: an endpoint's label, or a flow and role such as "render console"
    std::string value;             // such as "active"; empty: there is none any more
};

/// A thread of the module that waits, in a call of Windows.
struct ThreadWait
{
    std::chrono::nanoseconds begin; // as an entry's time
    std::chrono::nanoseconds end;   // negative while it goes on
    std::uint32_t threadId;
    std::string call;                // such as "Sleep"
    std::chrono::milliseconds limit; // how long at most; a sleep lasts that long
    bool timedOut;                   // the limit has passed
};

/// What happened in this process, in one order for all threads. Every stand-in adds to it; the host program prints it
/// and tests assert on it. The values of `who`:
///
/// - "log3", "log4": a line of the module, by its level
/// - "host": a call of the provider proxy
/// - "ipc": a call of the IPC library, or a message that it delivers
/// - "audio": a call of the audio service's COM objects, and its result; a change of a volume
/// - "notify": a notification that the audio service delivers
/// - "tips", "strings": a call of the tips library or the string tables; what becomes of a tip
/// - "card": a tip as the user sees it, told by the host program
/// - "keys": a key press of the module
/// - "fault": a call that throws as planned
/// - "scenario", "test": what a scenario or a test does
///
/// Beside the entries it keeps what has a state at every moment, and the waits of the module's threads; nothing of
/// these is told by anybody, so expectations do not see them.
///
/// One object for the process. Every operation may be called from any thread.
class SIM_TIMELINE_API Timeline
{
public:
    using Listener = std::function<void(const TimelineEntry&)>;
    using Predicate = std::function<bool(const TimelineEntry&)>;

    static Timeline& Instance();

    /// Facts without a cause get the one that the calling thread is at work because of.
    void Add(std::string_view who, std::string_view what, EntryFacts facts = {});
    void Add(std::string_view who, std::wstring_view what, EntryFacts facts = {});

    void ChangeState(std::string_view track, std::string_view subject, std::string_view value);

    /// The wait's number, for EndWait.
    std::size_t BeginWait(std::string_view call, std::chrono::milliseconds limit);
    void EndWait(std::size_t number, bool timedOut);

    /// That moment as an entry's time.
    std::chrono::nanoseconds SinceStart(std::chrono::steady_clock::time_point moment) const;

    /// Everything so far, in order.
    std::vector<TimelineEntry> Entries() const;

    std::vector<StateChange> StateChanges() const;
    std::vector<ThreadWait> Waits() const;

    /// The texts of everything that `who` told so far, in order.
    std::vector<std::string> Texts(std::string_view who) const;

    std::size_t Count(const Predicate& matches) const;
    std::size_t Count(std::string_view who, std::string_view what) const;

    /// Waits until at least `count` entries match. Returns false when `limit` has passed before.
    bool WaitForCount(const Predicate& matches, std::size_t count, std::chrono::milliseconds limit) const;
    bool WaitFor(std::string_view who, std::string_view what, std::chrono::milliseconds limit,
                 std::size_t count = 1) const;

    /// Called for each entry, in order, one at a time, while the entries are locked: it may call nothing of the timeline but
    /// what changes a state or tells of a wait.
    void SetListener(Listener listener);

    /// Forgets everything; the start stays.
    void Clear();

    Timeline(const Timeline&) = delete;
    Timeline& operator=(const Timeline&) = delete;

private:
    struct State;

    Timeline();
    ~Timeline();

    std::unique_ptr<State> state_;
};

/// UTF-8 of a wide text; what cannot be converted becomes U+FFFD.
SIM_TIMELINE_API std::string ToUtf8(std::wstring_view text);

/// Wide text of UTF-8.
SIM_TIMELINE_API std::wstring FromUtf8(std::string_view text);

} // namespace sim
