// The module-wide endpoint list and default set, and how they are kept up to date.
#include "audio/ModuleEndpoints.h"
#include "tests/audio/AudioTest.h"
#include "tests/support/LogLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ModuleEndpointsTest : public test::AudioTest
{
protected:
    EndpointRecord& Record(const std::string& label) { return endpoints.endpointList.at(service.Id(label)); }
};

TEST_F(ModuleEndpointsTest, ThereIsOneObject)
{
    EXPECT_EQ(&ModuleEndpoints::Instance(), &ModuleEndpoints::Instance());
}

TEST_F(ModuleEndpointsTest, FillReplacesListAndThenSet)
{
    const std::wstring speaker = AddSpeaker();
    endpoints.endpointList[L"old"].devicePwszAllID = L"old";
    endpoints.defaultSet = {L"old"};
    timeline.Clear();
    service.SetVerbose(true);
    endpoints.Fill();
    EXPECT_THAT(endpoints.endpointList, SizeIs(1));
    EXPECT_EQ(Record("speaker").devicePwszAllID, speaker);
    EXPECT_THAT(endpoints.defaultSet, ElementsAre(speaker));

    const std::vector<std::string> story = test::Story({"audio", "log3"});
    ASSERT_GT(story.size(), 3U);
    EXPECT_EQ(story[1], "audio EnumAudioEndpoints 2 11 -> 0x00000000");
    EXPECT_EQ(timeline.Count("log3", "GetDefaultEndpointName: start (HeadFeatureConnect::GetDefaultEndPointName)"), 1U);
    EXPECT_EQ(story.back(), "audio GetId speaker -> 0x00000000");
}

TEST_F(ModuleEndpointsTest, FillEmptiesTheListWhenThereIsNothing)
{
    endpoints.endpointList[L"old"].devicePwszAllID = L"old";
    endpoints.defaultSet = {L"old"};
    endpoints.Fill();
    EXPECT_THAT(endpoints.endpointList, IsEmpty());
    EXPECT_THAT(endpoints.defaultSet, IsEmpty());
}

TEST_F(ModuleEndpointsTest, FillEnumeratesUnderTheEndpointLockAndLooksForDefaultsUnderBoth)
{
    AddSpeaker();
    std::vector<std::string> looks;
    AtAudioCall("CoCreateInstance MMDeviceEnumerator",
                [&]
                {
                    looks.push_back(std::string(test::IsDefaultSetLockFree() ? "" : "set ") +
                                    (test::IsEndpointLockFree() ? "" : "list"));
                });
    endpoints.Fill();
    EXPECT_THAT(looks, ElementsAre("list", "set list"));
}

// --- the list ---

TEST_F(ModuleEndpointsTest, ARefreshOverwritesInsertsAndRemoves)
{
    service.AddEndpoint({.label = "changed", .friendlyName = L"before"});
    service.AddEndpoint({.label = "vanishes"});
    endpoints.RefreshEndPointNameList();
    EXPECT_THAT(endpoints.endpointList, SizeIs(2));
    Record("changed").deviceReserved = "overwritten too";
    Record("changed").deviceMacAddr = "overwritten too";
    const std::wstring vanished = service.Id("vanishes");

    service.SetFriendlyName("changed", L"after");
    service.SetState("changed", DEVICE_STATE_DISABLED);
    service.RemoveEndpoint("vanishes");
    service.AddEndpoint({.label = "new", .flow = eCapture});
    endpoints.RefreshEndPointNameList();

    EXPECT_THAT(endpoints.endpointList, SizeIs(2));
    EXPECT_EQ(Record("changed").deviceFriendlyName, L"after");
    EXPECT_EQ(Record("changed").deviceStateName, "DEVICE_STATE_DISABLED");
    EXPECT_EQ(Record("changed").deviceReserved, "");
    EXPECT_EQ(Record("changed").deviceMacAddr, "");
    EXPECT_EQ(Record("new").pszFlow, "eCapture");
    EXPECT_EQ(endpoints.endpointList.count(vanished), 0U);
}

TEST_F(ModuleEndpointsTest, AnEndpointThatIsNoLongerPresentIsRemoved)
{
    AddSpeaker();
    ConnectHeadset();
    endpoints.RefreshEndPointNameList();
    EXPECT_THAT(endpoints.endpointList, SizeIs(4));
    service.DisconnectHeadset(test::headsetAddress);
    endpoints.RefreshEndPointNameList();
    EXPECT_THAT(endpoints.endpointList, SizeIs(1));
}

TEST_F(ModuleEndpointsTest, ARefreshThatFindsNothingKeepsTheList)
{
    AddSpeaker();
    endpoints.RefreshEndPointNameList();
    Record("speaker").deviceReserved = "kept";
    service.SetPresent("speaker", false);
    endpoints.RefreshEndPointNameList();
    EXPECT_THAT(endpoints.endpointList, SizeIs(1));
    EXPECT_EQ(Record("speaker").deviceReserved, "kept");
}

TEST_F(ModuleEndpointsTest, ARefreshThatFailsKeepsTheList)
{
    AddSpeaker();
    endpoints.RefreshEndPointNameList();
    Record("speaker").deviceReserved = "kept";
    timeline.Clear();
    for (const char* call : {"CoCreateInstance::MMDeviceEnumerator", "IMMDeviceEnumerator::EnumAudioEndpoints",
                             "IMMDeviceCollection::GetCount", "IMMDeviceCollection::Item", "IMMDevice::GetId"})
    {
        faults.Clear();
        faults.FailAll(call, E_FAIL);
        endpoints.RefreshEndPointNameList();
        EXPECT_EQ(Record("speaker").deviceReserved, "kept") << call;
    }
    EXPECT_THAT(test::LogLines(),
                ElementsAre("4 pEnumerator nullptr;hr-2147467259(HeadFeatureConnect::GetEndPointNameList)"));
}

TEST_F(ModuleEndpointsTest, ARefreshHoldsTheEndpointLockAllTheTime)
{
    AddSpeaker();
    int looks = 0;
    service.SetVerbose(true);
    AtAudioCall("",
                [&]
                {
                    ++looks;
                    EXPECT_FALSE(test::IsEndpointLockFree());
                    EXPECT_TRUE(test::IsDefaultSetLockFree());
                });
    endpoints.RefreshEndPointNameList();
    EXPECT_EQ(looks, 11);
    EXPECT_TRUE(test::IsEndpointLockFree());
}

TEST_F(ModuleEndpointsTest, EveryFailureOfACallLeavesAListOfWholeNames)
{
    AddSpeaker();
    ConnectHeadset();
    endpoints.Fill();
    WithEachCallFailing(
        [&]
        {
            endpoints.RefreshDefaultEndPointName();
            endpoints.RefreshEndPointNameList();
            EXPECT_THAT(endpoints.endpointList, testing::Not(IsEmpty()));
            EXPECT_EQ(endpoints.endpointList.count(L""), 0U);
            EXPECT_TRUE(test::IsEndpointLockFree());
            EXPECT_TRUE(test::IsDefaultSetLockFree());
        });
}

// --- the set ---

TEST_F(ModuleEndpointsTest, ARefreshReplacesTheSetEvenByAnEmptyOne)
{
    const std::wstring speaker = AddSpeaker();
    const std::wstring other = service.AddEndpoint({.label = "other"});
    endpoints.defaultSet = {L"old"};
    endpoints.RefreshDefaultEndPointName();
    EXPECT_THAT(endpoints.defaultSet, ElementsAre(speaker));
    service.SetDefault("other", eCommunications);
    endpoints.RefreshDefaultEndPointName();
    EXPECT_THAT(endpoints.defaultSet, ElementsAre(speaker, other));
    faults.FailAll("CoCreateInstance::", E_FAIL);
    endpoints.RefreshDefaultEndPointName();
    EXPECT_THAT(endpoints.defaultSet, IsEmpty());
    EXPECT_THAT(endpoints.endpointList, IsEmpty());
}

TEST_F(ModuleEndpointsTest, TheSetIsRefreshedUnderBothLocks)
{
    AddSpeaker();
    int looks = 0;
    service.SetVerbose(true);
    AtAudioCall("",
                [&]
                {
                    ++looks;
                    EXPECT_FALSE(test::IsDefaultSetLockFree());
                    EXPECT_FALSE(test::IsEndpointLockFree());
                });
    endpoints.RefreshDefaultEndPointName();
    EXPECT_EQ(looks, 5);
}

TEST_F(ModuleEndpointsTest, TheThreadThatHoldsTheDefaultSetLockMayRefreshTheSet)
{
    const std::wstring speaker = AddSpeaker();
    const std::scoped_lock lock(endpoints.defaultSetMutex);
    endpoints.RefreshDefaultEndPointName();
    EXPECT_THAT(endpoints.defaultSet, ElementsAre(speaker));
}

// --- several threads ---

TEST_F(ModuleEndpointsTest, RefreshesFromSeveralThreadsWhileEndpointsComeAndGo)
{
    AddSpeaker();
    ConnectHeadset();
    endpoints.Fill();
    timeline.Clear();
    std::atomic<int> refreshes = 0;
    std::atomic<bool> done = false;
    const auto refresh = [&]
    {
        while (!done)
        {
            endpoints.RefreshDefaultEndPointName();
            endpoints.RefreshEndPointNameList();
            const std::scoped_lock lock(endpoints.defaultSetMutex, endpoints.endpointMutex);
            EXPECT_EQ(endpoints.endpointList.count(service.Id("speaker")), 1U);
            EXPECT_LE(endpoints.defaultSet.size(), 2U);
            ++refreshes;
            refreshes.notify_one();
        }
    };
    std::vector<std::thread> threads;
    for (int count = 0; count < 4; ++count)
    {
        threads.emplace_back(refresh);
    }
    for (int round = 0; round < 50; ++round)
    {
        const int before = refreshes;
        service.DisconnectHeadset(test::headsetAddress);
        service.ConnectHeadset({.address = test::headsetAddress, .becomesDefault = true});
        refreshes.wait(before);
    }
    done = true;
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    endpoints.RefreshDefaultEndPointName();
    endpoints.RefreshEndPointNameList();
    EXPECT_THAT(endpoints.endpointList, SizeIs(4));
    EXPECT_THAT(endpoints.defaultSet, ElementsAre(service.Id("headset stereo"), service.Id("headset hands-free")));
}

} // namespace
