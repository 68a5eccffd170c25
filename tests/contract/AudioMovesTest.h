#pragma once

#include "simulator/host/strings/StringsControl.h"
#include "simulator/host/tips/TipsControl.h"
#include "simulator/keys/VolumeKeys.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"
#include "tests/contract/ContractTest.h"
#include "tests/feature/Story.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace test
{

/// A headset whose audio moves to a phone, on a computer with a speaker of its own.
class AudioMovesTest : public ContractTest
{
protected:
    AudioMovesTest() : keys(module.Handle())
    {
        sim::StringsControl::Reset();
        sim::TipsControl::Reset();
    }
    ~AudioMovesTest() override
    {
        if (plugin)
        {
            (*plugin)->UnInit();
        }
        sim::TipsControl::Reset();
        EXPECT_TRUE(sim::TipsControl::WaitForNoCallback(longWait));
        sim::StringsControl::Reset();
    }

    /// The headset has the audio, and all is quiet.
    void SetUp() override
    {
        AddHeadset();
        Start();
        Audio().SetDefault("headset stereo");
        ASSERT_TRUE(WaitForIdle());
        ClearTimeline();
    }

    void Move(const std::string& from = "Headset", const std::string& to = "Phone", const std::string& of = mac) const
    {
        service->SendDeviceChange(1, to, from, of);
    }

    /// Moves, and waits until the tip shows and the restore task has ended.
    void MoveAndWaitForTip()
    {
        const std::size_t shown = sim::Timeline::Instance().Count("tips", "Show");
        Move();
        ASSERT_TRUE(WaitFor("tips", "Show", shown + 1));
        WaitForRestoresEnd();
    }

    /// Waits until no restore is pending: a message of its own kind, which is only logged, is then dealt with. Those before
    /// are dropped.
    void WaitForRestoresEnd() const
    {
        const std::string line = Text("OnRecvDeviceChange", "SwitchEvType=99");
        const std::size_t before = sim::Timeline::Instance().Count("log3", line);
        const auto deadline = std::chrono::steady_clock::now() + longWait;
        do
        {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
            std::this_thread::sleep_for(20ms); // a pause between two looks
            const std::size_t delivered = sim::Timeline::Instance().Count("ipc", "delivered 12144177 10617848");
            service->SendDeviceChange(99, "", "", "");
            ASSERT_TRUE(WaitForMessages(delivered + 1));
        } while (sim::Timeline::Instance().Count("log3", line) == before);
    }

    /// Moves, and does something before the second is over. On a machine that was too slow for that, tries anew.
    void MoveAnd(const std::function<void()>& meanwhile)
    {
        for (int attempt = 0; attempt < 20; ++attempt)
        {
            const float level = Audio().Volume("speaker");
            ClearTimeline();
            const auto begin = std::chrono::steady_clock::now();
            Move();
            ASSERT_TRUE(WaitForMessages(1));
            meanwhile();
            if (std::chrono::steady_clock::now() - begin < 1s) // the dip came after the begin
            {
                return;
            }
            WaitForRestoresEnd();
            sim::TipsControl::Reset();
            sim::FaultPlan::Instance().Clear();
            Audio().SetPresent("speaker", true);
            Audio().SetVolume("speaker", level);
        }
        FAIL() << "the machine is too slow";
    }

    /// Waits until the message has been dealt with, up to the restore.
    static bool WaitForMessages(std::size_t count) { return WaitFor("ipc", "delivered 12144177 10617848", count); }

    static std::vector<std::string> VolumeChanges()
    {
        std::vector<std::string> changes = Story({"audio"});
        std::erase_if(changes, [](const std::string& entry) { return !entry.starts_with("audio SetMaster"); });
        return changes;
    }

    static std::size_t TipsMade() { return sim::Timeline::Instance().Count("tips", "CreateTips 9 100018"); }

    sim::VolumeKeys keys;
};

} // namespace test
