#include "simulator/host/tips/TipAnswers.h"

#include "simulator/host/tips/LibraryThread.h"
#include "simulator/timeline/Timeline.h"

#include "tips/TipsTypes.h"

#include <memory>
#include <string>
#include <utility>

namespace sim
{

namespace
{

void Tell(const TipReply& reply, const char* outcome, EntryFacts facts)
{
    facts.values = {{"event", std::to_string(reply.event)}, {"parameter", ToUtf8(reply.param)}};
    Timeline::Instance().Add("tips",
                             "reply " + std::to_string(reply.event) + " \"" + ToUtf8(reply.param) + "\"" + outcome,
                             std::move(facts));
}

/// Makes the call, which tells whether there was a callback, and tells how it went.
template <typename Call> void Around(const TipReply& reply, const Call& call)
{
    const CauseId id = NewCause();
    Tell(reply, "", {.kind = "reply begins", .gives = id});
    const CauseScope scope(id);
    std::wstring param = reply.param; // the callback may change it
    try
    {
        const bool called = call(static_cast<Qva::TipsSdk::EnmReplyEvent>(reply.event), param);
        Tell(reply, called ? " returned" : " to no callback", {.kind = "reply ends"});
    }
    catch (...)
    {
        Tell(reply, " threw", {.kind = "reply ends"});
    }
}

} // namespace

class TipAnswers::Flight
{
public:
    explicit Flight(TipAnswers& answers) : answers_(answers) { Count(1); }
    ~Flight() { Count(static_cast<std::size_t>(-1)); }
    Flight(const Flight&) = delete;
    Flight& operator=(const Flight&) = delete;

private:
    void Count(std::size_t more)
    {
        const std::scoped_lock lock(answers_.mutex_);
        answers_.inFlight_ += more;
        answers_.changed_.notify_all();
    }

    TipAnswers& answers_;
};

TipAnswers& TipAnswers::Instance()
{
    // Never destroyed: its thread runs until the process ends.
    static TipAnswers* const instance = new TipAnswers();
    return *instance;
}

TipAnswers::TipAnswers()
{
    StartLibraryThread([this] { Run(); });
}

std::uint64_t TipAnswers::Post(const TipReply& reply, std::uint64_t tip)
{
    return PostAnswer({0, reply, tip, {}, 0});
}

std::uint64_t TipAnswers::PostLate(const TipReply& reply, const ReplyHolder::Callback& callback)
{
    return PostAnswer({0, reply, 0, callback, 0});
}

bool TipAnswers::WaitFor(std::uint64_t number, std::chrono::milliseconds limit)
{
    std::unique_lock lock(mutex_);
    const auto isDone = [&]
    {
        const bool waits = !waiting_.empty() && number >= waiting_.front().number;
        return number <= posted_ && !waits && delivering_ != number;
    };
    return changed_.wait_for(lock, limit, isDone);
}

void TipAnswers::Deliver(const TipReply& reply, const TipRegister::TipPointer& tip)
{
    const std::shared_ptr<ReplyHolder> holder = tip->Reply();
    const bool inPlace = CallsInPlace();
    const ReplyHolder::Callback callback = inPlace ? nullptr : holder->Copy();
    const Flight flight(*this);
    Around(reply,
           [&](Qva::TipsSdk::EnmReplyEvent event, std::wstring& param)
           {
               if (!callback)
               {
                   return inPlace && holder->CallInPlace(event, param);
               }
               callback(event, param);
               return true;
           });
}

std::size_t TipAnswers::InFlight() const
{
    const std::scoped_lock lock(mutex_);
    return inFlight_;
}

bool TipAnswers::WaitForNone(std::chrono::milliseconds limit)
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [this] { return inFlight_ == 0 && waiting_.empty() && delivering_ == 0; });
}

void TipAnswers::DropWaiting()
{
    std::deque<Answer> dropped;
    const std::scoped_lock lock(mutex_);
    dropped.swap(waiting_);
    changed_.notify_all();
}

void TipAnswers::SetCallsInPlace(bool inPlace)
{
    const std::scoped_lock lock(mutex_);
    callsInPlace_ = inPlace;
}

void TipAnswers::Run()
{
    while (true)
    {
        {
            const Answer answer = TakeNext();
            const CauseScope scope(answer.cause);
            const TipRegister::TipPointer tip = TipRegister::Instance().FindNumber(answer.tip);
            if (answer.callback)
            {
                DeliverLate(answer.reply, answer.callback);
            }
            else if (tip)
            {
                Deliver(answer.reply, tip);
            }
            else
            {
                Tell(answer.reply, " to no tip", {.kind = "reply dropped"});
            }
        }
        Finish(); // with the answer gone
    }
}

TipAnswers::Answer TipAnswers::TakeNext()
{
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !waiting_.empty(); });
    Answer answer = std::move(waiting_.front());
    waiting_.pop_front();
    delivering_ = answer.number;
    return answer;
}

void TipAnswers::Finish()
{
    const std::scoped_lock lock(mutex_);
    delivering_ = 0;
    changed_.notify_all();
}

void TipAnswers::DeliverLate(const TipReply& reply, const ReplyHolder::Callback& callback)
{
    const Flight flight(*this);
    Around(reply,
           [&](Qva::TipsSdk::EnmReplyEvent event, std::wstring& param)
           {
               callback(event, param);
               return true;
           });
}

std::uint64_t TipAnswers::PostAnswer(Answer answer)
{
    const std::scoped_lock lock(mutex_);
    answer.number = ++posted_;
    answer.cause = CurrentCause();
    waiting_.push_back(std::move(answer));
    changed_.notify_all();
    return posted_;
}

bool TipAnswers::CallsInPlace() const
{
    const std::scoped_lock lock(mutex_);
    return callsInPlace_;
}

} // namespace sim
