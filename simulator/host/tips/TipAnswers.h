#pragma once

#include "simulator/host/tips/ReplyHolder.h"
#include "simulator/host/tips/TipRegister.h"
#include "simulator/host/tips/TipsControl.h"
#include "simulator/timeline/Cause.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>

namespace sim
{

/// Delivers answers to tips; see TipsControl.
///
/// One object for the process. Every operation may be called from any thread.
class TipAnswers
{
public:
    static TipAnswers& Instance();

    /// Lets the tips thread deliver the answer; its number.
    std::uint64_t Post(const TipReply& reply, std::uint64_t tip);
    std::uint64_t PostLate(const TipReply& reply, const ReplyHolder::Callback& callback);
    bool WaitFor(std::uint64_t number, std::chrono::milliseconds limit);

    /// Delivers the answer on this thread.
    void Deliver(const TipReply& reply, const TipRegister::TipPointer& tip);

    std::size_t InFlight() const;
    bool WaitForNone(std::chrono::milliseconds limit);
    void DropWaiting();

    void SetCallsInPlace(bool inPlace);

private:
    struct Answer
    {
        std::uint64_t number;
        TipReply reply;
        std::uint64_t tip;              // 0: a late one
        ReplyHolder::Callback callback; // of a late one
        CauseId cause;                  // of the click
    };

    /// A callback that runs; counted while it lives.
    class Flight;

    TipAnswers();

    void Run();
    Answer TakeNext();
    void Finish();
    void DeliverLate(const TipReply& reply, const ReplyHolder::Callback& callback);
    std::uint64_t PostAnswer(Answer answer);
    bool CallsInPlace() const;

    mutable std::mutex mutex_; // guards the fields below
    std::condition_variable changed_;
    std::deque<Answer> waiting_;
    std::uint64_t posted_ = 0;     // number of the last answer
    std::uint64_t delivering_ = 0; // number of the answer that the tips thread is at; 0: none
    std::size_t inFlight_ = 0;
    bool callsInPlace_ = false;
};

} // namespace sim
