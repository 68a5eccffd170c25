// The reconnect that the tip's second button asks for.
#include "simulator/host/tips/TipsControl.h"
#include "simulator/timeline/FaultPlan.h"
#include "tests/audio/ApartmentSpy.h"
#include "tests/contract/AudioMovesTest.h"
#include "tests/contract/ContractTest.h"

#include "simulator/timeline/Timeline.h"
#include "tests/feature/Story.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <stdexcept>
#include <vector>

namespace test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

const std::string operation = "TipHandleCallback::<lambda_45b38742df94e93c75fb4d1ae156629d>::operator ()";

/// The headset has lost the audio to a phone: the speaker is the default again. The reconnect's task and the worker both
/// pause for 500 ms; here each of these pauses lasts until the test has what it waits for.
class Reconnect : public AudioMovesTest
{
protected:
    ~Reconnect() override
    {
        LetWorkerGo();
        waits->SetHook({});
    }

    void SetUp() override
    {
        AudioMovesTest::SetUp();
        Audio().SetDefault("speaker");
        ASSERT_TRUE(WaitForIdle());
        Audio().SetVolume("speaker", 0.2F); // no dip, no key pulse: just the tip
        MoveAndWaitForTip();
        loopThread = ThreadOf("tips", "Show");
        ClearTimeline();
    }

    /// Asks for the reconnect. The worker gets to its work during the pause of that try (0, 1 or 2; 3 for after them
    /// all), which then lasts until the worker is done.
    void AskForReconnect(int successfulTry)
    {
        waits->SetHook(
            [this, successfulTry, mayGo = workerMayGo_](DWORD length) // the worker's own: it may outlast the test
            {
                if (length != 500)
                {
                    return;
                }
                if (IsLoopThread())
                {
                    if (tries_ == 0)
                    {
                        firstPause();
                    }
                    if (tries_++ == successfulTry)
                    {
                        LetWorkerGo();
                        EXPECT_TRUE(WaitFor("log3", Text("CooperateThreadFunc", "Current Download end :**15")));
                        EXPECT_TRUE(WaitForIdle());
                    }
                }
                else
                {
                    mayGo.wait();
                }
            });
        ASSERT_NE(sim::TipsControl::Answer({9, L"secondBtn"}), 0U);
        // A click that finds the loop on the way to its sleep is noticed late: that is intended. Another move wakes it.
        if (!sim::Timeline::Instance().WaitFor("log3", Text(operation, "try reconnect Start "), 500ms))
        {
            Move();
        }
    }

    std::function<void()> firstPause = [] {
    };
    std::uint32_t loopThread = 0;

    static bool WaitForLine(const std::string& text, std::size_t count = 1)
    {
        return WaitFor("log3", Text(operation, text), count);
    }

    static std::vector<std::string> LinesOfReconnect()
    {
        std::vector<std::string> lines = Story({"log3", "log4"});
        std::erase_if(lines, [](const std::string& entry) { return entry.find("<lambda_") == entry.npos; });
        return lines;
    }

private:
    static bool IsLoopThread()
    {
        return ThreadOf("log3", Text(operation, "try reconnect Start ")) == GetCurrentThreadId();
    }

    void LetWorkerGo()
    {
        if (!isWorkerFree_.exchange(true))
        {
            workerFree_.set_value();
        }
    }

    std::atomic<bool> isWorkerFree_ = false;
    std::promise<void> workerFree_;
    std::shared_future<void> workerMayGo_ = workerFree_.get_future().share();
    int tries_ = 0; // of the loop's thread alone
};

const std::string startLine = Line(operation, "try reconnect Start ");
const std::string end = Line(operation, "try reconnect End ");
const std::string fail0 = Line(operation, "try reconnect fail,times = 0");
const std::string fail1 = Line(operation, "try reconnect fail,times = 1");
const std::string fail2 = Line(operation, "try reconnect fail,times = 2");
const std::string state3 = "host OnFeatureStateChanged 11111822610015 9 3";

TEST_F(Reconnect, SucceedsAtTheFirstTry)
{
    AskForReconnect(0);
    ASSERT_TRUE(WaitForLine("try reconnect End "));
    EXPECT_THAT(LinesOfReconnect(), ElementsAre(startLine, end));
    EXPECT_THAT(HostCalls(), Contains(state3));
    EXPECT_EQ(Audio().Default(eRender, eConsole), "headset stereo");
}

TEST_F(Reconnect, SucceedsAtTheSecondTry)
{
    AskForReconnect(1);
    ASSERT_TRUE(WaitForLine("try reconnect End "));
    EXPECT_THAT(LinesOfReconnect(), ElementsAre(startLine, fail0, end));
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", Text("EnableFeature", "EnableFeature --task in queue")), 1U);
    EXPECT_THAT(HostCalls(), Contains(state3));
}

TEST_F(Reconnect, SucceedsAtTheThirdTry)
{
    AskForReconnect(2);
    ASSERT_TRUE(WaitForLine("try reconnect End "));
    EXPECT_THAT(LinesOfReconnect(), ElementsAre(startLine, fail0, fail1, end));
    EXPECT_THAT(HostCalls(), Contains(state3));
}

TEST_F(Reconnect, GivesUpSilentlyAfterThreeTries)
{
    AskForReconnect(3);
    ASSERT_TRUE(WaitForLine("try reconnect fail,times = 2"));
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", Text("EnableFeature", "EnableFeature -- Start1: ")), 3U);
    // The next move is dealt with, and restored by the same loop: nothing more came of the reconnect.
    MoveAndWaitForTip();
    EXPECT_THAT(LinesOfReconnect(), ElementsAre(startLine, fail0, fail1, fail2));
    EXPECT_THAT(HostCalls(), Not(Contains(state3)));
    ExpectOnlyTheRegistrationHeld();
}

TEST_F(Reconnect, SendsTheHeadsetCommandEachTime)
{
    AskForReconnect(3);
    ASSERT_TRUE(WaitForLine("try reconnect fail,times = 2"));
    EXPECT_EQ(sim::Timeline::Instance().Count("log3", Text("Send89Cmd", "Send89Cmd end")), 3U);
}

TEST_F(Reconnect, IsDoneAtOnceWhenTheHeadsetHasTheAudio)
{
    Audio().SetDefault("headset stereo");
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    AskForReconnect(3);
    ASSERT_TRUE(WaitForLine("try reconnect End "));
    EXPECT_THAT(LinesOfReconnect(), ElementsAre(startLine, end));
    EXPECT_THAT(Story({"log3"}), Contains(Line("EnableFeature", "Device is Cooperate.")));
    // Of the loop alone: when it enables the headset, and when it looks at it.
    EXPECT_THAT(Story({"host"}, ThreadOf("log3", Text(operation, "try reconnect End "))), ElementsAre(state3, state3));
}

TEST_F(Reconnect, RunsOnTheLoop)
{
    AskForReconnect(0);
    ASSERT_TRUE(WaitForLine("try reconnect End "));
    EXPECT_EQ(ThreadOf("log3", Text(operation, "try reconnect Start ")), loopThread);
    EXPECT_THAT(LinesOfReconnect(), ElementsAre(startLine, end));
}

TEST_F(Reconnect, LeavesItsApartmentWhenItHasSucceeded)
{
    Audio().SetDefault("headset stereo");
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    const ApartmentSpy apartments(module.Handle());
    AskForReconnect(3);
    const auto isLeave = [this](const sim::TimelineEntry& entry)
    {
        return entry.threadId == loopThread && entry.what == "CoUninitialize";
    };
    ASSERT_TRUE(WaitForLine("try reconnect End "));
    EXPECT_TRUE(sim::Timeline::Instance().WaitForCount(isLeave, 1, longWait));
    std::vector<std::string> story = Story({"log3", "test"}, loopThread);
    std::erase_if(story, [](const std::string& entry)
                  { return !entry.starts_with("test Co") && entry.find("<lambda_") == entry.npos; });
    EXPECT_THAT(story, ElementsAre("test CoInitialize", startLine, end, "test CoUninitialize"));
}

TEST_F(Reconnect, ThatFailsLeavesALine)
{
    Audio().SetDefault("headset stereo");
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    Host().SetFeatureStateHook([](const auto&, const auto&) { throw std::runtime_error("host"); });
    AskForReconnect(3);
    ASSERT_TRUE(WaitFor("log4", Text(operation, "try reconnect exception")));
    Host().SetFeatureStateHook(nullptr);
    EXPECT_THAT(LinesOfReconnect(), ElementsAre(startLine, Line(operation, "try reconnect exception", "log4")));
    ClearTimeline();
    MoveAndWaitForTip(); // by the same loop
}

TEST_F(Reconnect, IsForTheHeadsetWhoseTipWasClickedThoughAnotherMovesMeanwhile)
{
    // A tip that stays until it is clicked.
    sim::TipsControl::Reset();
    sim::FaultPlan::Instance().FailCall("TipsBase::SetAutoClose", 0, 1);
    MoveAndWaitForTip();
    // The next restore, of another headset, comes to its key pulse before the click and goes on after it.
    Audio().SetVolume("speaker", 0.5F);
    ClearTimeline();
    std::promise<void> isHeld;
    std::promise<void> mayGoOn;
    waits->SetHook(
        [&, allowed = mayGoOn.get_future().share()](DWORD length)
        {
            if (length == 100 && GetCurrentThreadId() == loopThread)
            {
                isHeld.set_value();
                allowed.wait();
            }
        });
    Move("Other", "Tablet", otherMac);
    EXPECT_EQ(isHeld.get_future().wait_for(longWait), std::future_status::ready);
    const std::uint64_t answer = sim::TipsControl::Answer({9, L"secondBtn"});
    EXPECT_TRUE(sim::TipsControl::WaitForAnswer(answer, longWait));
    mayGoOn.set_value();
    ASSERT_TRUE(WaitFor("tips", "Show"));
    waits->SetHook({});
    const auto commandFor = [](const char* key)
    {
        return std::string("PostMsg 12144177 10617849 10616832 {\"3\",\"1\",\"2\",\"") + key + "\"}";
    };
    EXPECT_TRUE(WaitFor("ipc", commandFor(mac)));
    EXPECT_EQ(sim::Timeline::Instance().Count("ipc", commandFor(otherMac)), 0U);
}

TEST_F(Reconnect, EndOfThePluginWaitsForIt)
{
    std::promise<void> mayGoOn;
    firstPause = [allowed = mayGoOn.get_future().share()]
    {
        allowed.wait();
    };
    AskForReconnect(3);
    ASSERT_TRUE(WaitForLine("try reconnect Start "));
    auto stop = std::async(std::launch::async, [this] { (*plugin)->UnInit(); });
    EXPECT_TRUE(WaitFor("ipc", "UnRegisterMessageCallbackAll 12144177"));
    EXPECT_EQ(stop.wait_for(100ms), std::future_status::timeout);
    mayGoOn.set_value();
    stop.get();
    EXPECT_THAT(LinesOfReconnect(), ElementsAre(startLine, fail0, fail1, fail2));
}

} // namespace

} // namespace test
