#include "tests/simulator/host/TipsTest.h"

#include "tips/TipsBase.h"
#include "tips/TipsTypes.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>

using namespace Qva::TipsSdk;
using namespace std::chrono_literals;
using sim::TipsControl;
using testing::ElementsAre;
using testing::IsSupersetOf;

namespace
{

class TipAnswersTest : public TipsTest
{
protected:
    /// What callbacks got, each as "EVENT PARAM", and where.
    struct Got
    {
        std::wstring text;
        std::thread::id thread;
    };

    TipsBase::ReplyCallback Recorder()
    {
        return [this](EnmReplyEvent event, std::wstring& param)
        {
            const std::scoped_lock lock(mutex_);
            got_.push_back({std::to_wstring(static_cast<int>(event)) + L" " + param, std::this_thread::get_id()});
        };
    }

    std::vector<Got> Answers()
    {
        const std::scoped_lock lock(mutex_);
        return got_;
    }

private:
    std::mutex mutex_; // guards got_
    std::vector<Got> got_;
};

TEST_F(TipAnswersTest, ReachTheCallbackOnAThreadOfTheLibrary)
{
    Show(Recorder());
    sim::Timeline::Instance().Clear();
    const std::uint64_t first = TipsControl::Answer({9, L"secondBtn"});
    const std::uint64_t second = TipsControl::Answer({3, L""});
    ASSERT_TRUE(TipsControl::WaitForAnswer(first, limit));
    ASSERT_TRUE(TipsControl::WaitForAnswer(second, limit));
    ASSERT_EQ(Answers().size(), 2U);
    EXPECT_EQ(Answers()[0].text, L"9 secondBtn");
    EXPECT_EQ(Answers()[1].text, L"3 ");
    EXPECT_NE(Answers()[0].thread, std::this_thread::get_id());
    EXPECT_EQ(Answers()[0].thread, Answers()[1].thread);
    EXPECT_THAT(Told(), ElementsAre("reply 9 \"secondBtn\"", "reply 9 \"secondBtn\" returned", "reply 3 \"\"",
                                    "reply 3 \"\" returned"));
    EXPECT_TRUE(TipsControl::WaitForNoCallback(limit));
}

TEST_F(TipAnswersTest, NeedATipThatShows)
{
    Create();
    EXPECT_EQ(TipsControl::Answer({}), 0U);
    EXPECT_FALSE(TipsControl::AnswerHere({}));
    EXPECT_EQ(TipsControl::AnswerLate({}), 0U);
    EXPECT_FALSE(TipsControl::WaitForAnswer(1000000, 10ms));
}

TEST_F(TipAnswersTest, CanBeGivenOnTheThreadThatAsks)
{
    Show(Recorder());
    EXPECT_TRUE(TipsControl::AnswerHere({9, L"firstBtn"}));
    ASSERT_EQ(Answers().size(), 1U);
    EXPECT_EQ(Answers()[0].text, L"9 firstBtn");
    EXPECT_EQ(Answers()[0].thread, std::this_thread::get_id());
}

TEST_F(TipAnswersTest, CanComeInsideShow)
{
    TipsControl::SetAnswerInsideShow(sim::TipReply{9, L"secondBtn"});
    TipsBase* tip = nullptr;
    bool closed = false;
    tip = Create();
    tip->SetReplyCallback([&](EnmReplyEvent, std::wstring&) { closed = Manager().CloseTips(tip); });
    sim::Timeline::Instance().Clear();
    Manager().Show(tip, nullptr);
    EXPECT_TRUE(closed);
    EXPECT_THAT(Told(), ElementsAre("Show", "reply 9 \"secondBtn\"", "CloseTips", "reply 9 \"secondBtn\" returned"));
    TipsControl::SetAnswerInsideShow(std::nullopt);
    Show(Recorder());
    EXPECT_TRUE(Answers().empty());
}

TEST_F(TipAnswersTest, AreDroppedWhenTheTipHasGone)
{
    std::promise<void> entered;
    std::promise<void> leave;
    TipsBase* const tip = Show(
        [&](EnmReplyEvent, std::wstring&)
        {
            entered.set_value();
            leave.get_future().wait();
        });
    const std::uint64_t first = TipsControl::Answer({9, L"first"});
    ASSERT_EQ(entered.get_future().wait_for(limit), std::future_status::ready);
    const std::uint64_t second = TipsControl::Answer({9, L"second"});
    EXPECT_FALSE(TipsControl::WaitForAnswer(first, 10ms));
    EXPECT_FALSE(TipsControl::WaitForAnswer(second, 10ms));
    EXPECT_EQ(TipsControl::CallbacksInFlight(), 1U);
    EXPECT_FALSE(TipsControl::WaitForNoCallback(10ms));
    Manager().CloseTips(tip);
    leave.set_value();
    ASSERT_TRUE(TipsControl::WaitForAnswer(first, limit));
    ASSERT_TRUE(TipsControl::WaitForAnswer(second, limit));
    EXPECT_EQ(TipsControl::CallbacksInFlight(), 0U);
    EXPECT_EQ(Told().back(), "reply 9 \"second\" to no tip");
}

TEST_F(TipAnswersTest, CanComeAfterTheTipHasBeenClosed)
{
    TipsControl::SetKeepsCallbacks(true);
    Manager().CloseTips(Show(Recorder()));
    const std::uint64_t late = TipsControl::AnswerLate({9, L"secondBtn"});
    ASSERT_NE(late, 0U);
    ASSERT_TRUE(TipsControl::WaitForAnswer(late, limit));
    ASSERT_EQ(Answers().size(), 1U);
    EXPECT_EQ(Answers()[0].text, L"9 secondBtn");
}

TEST_F(TipAnswersTest, HoldNothingWhenTheyAreOver)
{
    const auto held = std::make_shared<int>();
    TipsControl::SetKeepsCallbacks(true);
    TipsBase* const tip = Show([held](EnmReplyEvent, std::wstring&) {});
    ASSERT_TRUE(TipsControl::WaitForAnswer(TipsControl::Answer({}), limit));
    EXPECT_EQ(held.use_count(), 2);
    Manager().CloseTips(tip);
    EXPECT_EQ(held.use_count(), 2);
    ASSERT_TRUE(TipsControl::WaitForAnswer(TipsControl::AnswerLate({}), limit));
    TipsControl::SetKeepsCallbacks(false);
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(TipAnswersTest, TellOfACallbackThatThrows)
{
    Show([](EnmReplyEvent, std::wstring&) { throw std::runtime_error("no"); });
    ASSERT_TRUE(TipsControl::WaitForAnswer(TipsControl::Answer({}), limit));
    EXPECT_EQ(Told().back(), "reply 9 \"secondBtn\" threw");
    EXPECT_EQ(TipsControl::CallbacksInFlight(), 0U);
}

TEST_F(TipAnswersTest, GoNowhereWithoutACallback)
{
    for (const bool inPlace : {false, true})
    {
        TipsControl::SetDestroysRunningCallback(inPlace);
        Manager().Show(Create(), nullptr);
        ASSERT_TRUE(TipsControl::WaitForAnswer(TipsControl::Answer({}), limit));
        EXPECT_EQ(Told().back(), "reply 9 \"secondBtn\" to no callback");
    }
}

TEST_F(TipAnswersTest, RunOnACopyThatOutlivesTheTip)
{
    const auto held = std::make_shared<int>(5);
    TipsBase* tip = nullptr;
    int seen = 0;
    tip = Show(
        [held, &tip, &seen](EnmReplyEvent, std::wstring&)
        {
            Manager().CloseTips(tip);
            seen = *held;
        });
    ASSERT_TRUE(TipsControl::WaitForAnswer(TipsControl::Answer({}), limit));
    EXPECT_EQ(seen, 5);
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(TipAnswersTest, CanRunOnTheTipsOwnCallbackWhichCloseTipsDestroys)
{
    TipsControl::SetDestroysRunningCallback(true);
    const auto held = std::make_shared<int>();
    TipsBase* tip = nullptr;
    long countAfterClosing = 0;
    tip = Show(
        [held, &tip, &countAfterClosing](EnmReplyEvent, std::wstring&)
        {
            const std::weak_ptr<int> watched = held;
            long& count = countAfterClosing; // what is captured is gone after the next line
            Manager().CloseTips(tip);
            count = watched.use_count();
        });
    EXPECT_EQ(held.use_count(), 2);
    ASSERT_TRUE(TipsControl::WaitForAnswer(TipsControl::Answer({}), limit));
    EXPECT_EQ(countAfterClosing, 1);
    EXPECT_EQ(TipsControl::Tips(), 0U);
}

TEST_F(TipAnswersTest, OverwriteACallbackThatWasDestroyedWhileItRan)
{
    TipsControl::SetDestroysRunningCallback(true);
    struct Callback // small enough to lie within the function object
    {
        TipsBase** tip;
        unsigned char* after;
        void operator()(EnmReplyEvent, std::wstring&) const
        {
            unsigned char* const result = after;
            const volatile auto* const bytes = reinterpret_cast<const volatile unsigned char*>(this);
            Manager().CloseTips(*tip);
            *result = bytes[0];
        }
    };
    TipsBase* tip = nullptr;
    unsigned char after = 0;
    tip = Show(Callback{&tip, &after});
    ASSERT_TRUE(TipsControl::WaitForAnswer(TipsControl::Answer({}), limit));
    EXPECT_EQ(after, 0xDD);
}

TEST_F(TipAnswersTest, AreNotDisturbedByClosingFromAnotherThread)
{
    for (const bool inPlace : {false, true})
    {
        TipsControl::SetDestroysRunningCallback(inPlace);
        const auto held = std::make_shared<int>(7);
        std::promise<void> entered;
        std::promise<void> leave;
        int seen = 0;
        TipsBase* const tip = Show(
            [held, &entered, &leave, &seen](EnmReplyEvent, std::wstring&)
            {
                entered.set_value();
                leave.get_future().wait();
                seen = *held;
            });
        const std::uint64_t answer = TipsControl::Answer({});
        ASSERT_EQ(entered.get_future().wait_for(limit), std::future_status::ready);
        EXPECT_TRUE(Manager().CloseTips(tip));
        leave.set_value();
        ASSERT_TRUE(TipsControl::WaitForAnswer(answer, limit));
        EXPECT_EQ(seen, 7);
        EXPECT_EQ(held.use_count(), 1);
    }
}

TEST_F(TipAnswersTest, AndTheTipsOwnClosingMayMeet)
{
    std::atomic<int> closed = 0;
    for (int round = 0; round < 200; ++round)
    {
        TipsControl::SetDestroysRunningCallback(round % 2 == 1);
        TipsPopUpWnd* const tip = Create();
        tip->SetAutoClose(true);
        tip->SetCloseDelay(static_cast<std::uint64_t>(round % 3));
        tip->SetReplyCallback(
            [tip, &closed](EnmReplyEvent, std::wstring&)
            {
                std::atomic<int>& count = closed; // what is captured is gone after the next line
                const bool closes = Manager().CloseTips(tip);
                count += closes ? 1 : 0;
            });
        Manager().Show(tip, nullptr);
        const std::uint64_t answer = TipsControl::Answer({});
        ASSERT_TRUE(answer == 0 || TipsControl::WaitForAnswer(answer, limit));
        ASSERT_TRUE(TipsControl::WaitForNoneShowing(limit));
    }
    const auto isClosing = [](const sim::TimelineEntry& entry)
    {
        return entry.what == "auto-closed";
    };
    ASSERT_TRUE(
        sim::Timeline::Instance().WaitForCount(isClosing, 200U - static_cast<std::size_t>(closed.load()), limit));
    EXPECT_EQ(TipsControl::Tips(), 0U);
}

} // namespace
