// Which endpoints are a headset's, and which one is the built-in speaker.
#include "audio/EarEndpointInfo.h"
#include "simulator/audio/ContainerIds.h"
#include "tests/audio/AudioTest.h"
#include "tests/audio/EarphoneTest.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/LogLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class EarphoneEndpointsTest : public test::EarphoneTest
{
protected:
    void Find(const std::string& key) { handler->GetEarPwszAllID(key, stereo, render, capture); }

    /// What the record holds, in the order of its fields.
    static void ExpectInfo(const EarEndpointInfo& info, const wchar_t* id, const char* state, const char* flow,
                           std::uint32_t type, const char* key)
    {
        ASSERT_TRUE(info.devicePwszAllID);
        EXPECT_STREQ(info.devicePwszAllID.get(), id);
        EXPECT_EQ(info.deviceStateName, state);
        EXPECT_EQ(info.pszFlow, flow);
        EXPECT_EQ(info.deviceTypeID, type);
        EXPECT_EQ(info.deviceMacAddr, key);
    }

    static void ExpectNothing(const EarEndpointInfo& info)
    {
        EXPECT_FALSE(info.devicePwszAllID);
        EXPECT_EQ(info.deviceStateName, "");
        EXPECT_EQ(info.pszFlow, "");
        EXPECT_EQ(info.deviceTypeID, 0U);
        EXPECT_EQ(info.deviceMacAddr, "");
    }

    static EarEndpointInfo Before()
    {
        EarEndpointInfo info;
        info.devicePwszAllID = CopyEndpointId(L"id before");
        info.deviceStateName = "state before";
        info.pszFlow = "flow before";
        info.deviceTypeID = 7;
        info.deviceMacAddr = "key before";
        return info;
    }

    static void ExpectBefore(const EarEndpointInfo& info)
    {
        ExpectInfo(info, L"id before", "state before", "flow before", 7, "key before");
    }

    EarEndpointInfo stereo;
    EarEndpointInfo render;
    EarEndpointInfo capture;
};

// --- a headset's endpoints ---

TEST_F(EarphoneEndpointsTest, WithoutKeyItLogsAndLeavesTheOutputs)
{
    Insert(L"a", "eRender", 1, "");
    stereo = Before();
    render = Before();
    capture = Before();
    Find("");
    ExpectBefore(stereo);
    ExpectBefore(render);
    ExpectBefore(capture);
    EXPECT_THAT(test::LogLines(),
                ElementsAre("3 GetEarPwszAllID deviceMacAddris null: (HeadsetAudioFeatureHandler::GetEarPwszAllID)"));
}

TEST_F(EarphoneEndpointsTest, WithoutListItLogsAndLeavesTheOutputs)
{
    stereo = Before();
    Find("1");
    ExpectBefore(stereo);
    EXPECT_THAT(
        test::LogLines(),
        ElementsAre("3 GetEarPwszAllID audioDeviceSet.size()<=0 (HeadsetAudioFeatureHandler::GetEarPwszAllID)"));
}

TEST_F(EarphoneEndpointsTest, TheKeyIsLookedAtBeforeTheList)
{
    Find("");
    EXPECT_THAT(test::LogLines(),
                ElementsAre("3 GetEarPwszAllID deviceMacAddris null: (HeadsetAudioFeatureHandler::GetEarPwszAllID)"));
}

TEST_F(EarphoneEndpointsTest, FillsEachKindAndLogsNothing)
{
    Insert(L"a", "eRender", 1, "1");
    Insert(L"b", "eRender", 2, "1", "DEVICE_STATE_DISABLED");
    Insert(L"c", "eCapture", 2, "1", "DEVICE_STATE_UNPLUGGED");
    Find("1");
    ExpectInfo(stereo, L"a", "DEVICE_STATE_ACTIVE", "eRender", 1, "");
    ExpectInfo(render, L"b", "DEVICE_STATE_DISABLED", "eRender", 2, "");
    ExpectInfo(capture, L"c", "DEVICE_STATE_UNPLUGGED", "eCapture", 2, "");
    EXPECT_THAT(test::LogLines(), IsEmpty());
}

TEST_F(EarphoneEndpointsTest, OnlyRecordsOfExactlyTheKeyCount)
{
    Insert(L"a", "eRender", 1, "1");
    Insert(L"b", "eRender", 1, "123");
    Insert(L"c", "eRender", 1, "012");
    Insert(L"d", "eRender", 1, "");
    Find("12");
    ExpectNothing(stereo);
}

TEST_F(EarphoneEndpointsTest, AHeadsetWithHandsFreeRenderAloneFillsThatOutputAlone)
{
    Insert(L"a", "eRender", 2, "1");
    Find("1");
    ExpectNothing(stereo);
    ExpectInfo(render, L"a", "DEVICE_STATE_ACTIVE", "eRender", 2, "");
    ExpectNothing(capture);
}

TEST_F(EarphoneEndpointsTest, OtherCombinationsAreSkipped)
{
    Insert(L"a", "eRender", 0, "1");
    Insert(L"b", "eCapture", 0, "1");
    Insert(L"c", "eRender", 3, "1");
    Insert(L"d", "", 2, "1");
    Insert(L"e", "erender", 2, "1");
    Find("1");
    ExpectNothing(stereo);
    ExpectNothing(render);
    ExpectNothing(capture);
}

TEST_F(EarphoneEndpointsTest, AStereoEndpointCountsWhateverItsFlow)
{
    Insert(L"a", "", 1, "1");
    Find("1");
    ExpectInfo(stereo, L"a", "DEVICE_STATE_ACTIVE", "", 1, "");
}

TEST_F(EarphoneEndpointsTest, OfSeveralThatFitTheLastByIdWins)
{
    Insert(L"c", "eRender", 1, "1", "DEVICE_STATE_UNPLUGGED");
    Insert(L"a", "eRender", 1, "1");
    Insert(L"b", "eRender", 1, "1");
    Insert(L"d", "eRender", 1, "2");
    Insert(L"e", "eCapture", 2, "1");
    Insert(L"f", "eCapture", 2, "1", "DEVICE_STATE_DISABLED");
    Find("1");
    ExpectInfo(stereo, L"c", "DEVICE_STATE_UNPLUGGED", "eRender", 1, "");
    ExpectInfo(capture, L"f", "DEVICE_STATE_DISABLED", "eCapture", 2, "");
}

TEST_F(EarphoneEndpointsTest, TheKeyInAnOutputIsNotWritten)
{
    Insert(L"a", "eRender", 1, "1");
    stereo = Before();
    render = Before();
    Find("1");
    ExpectInfo(stereo, L"a", "DEVICE_STATE_ACTIVE", "eRender", 1, "key before");
    ExpectBefore(render);
}

TEST_F(EarphoneEndpointsTest, TheIdIsACopyThatTheListsChangesDoNotTouch)
{
    Insert(L"a longer id than a small text keeps in itself", "eRender", 1, "1");
    Find("1");
    EXPECT_NE(stereo.devicePwszAllID.get(), endpoints.endpointList.begin()->second.devicePwszAllID.c_str());
    endpoints.endpointList.clear();
    EXPECT_STREQ(stereo.devicePwszAllID.get(), L"a longer id than a small text keeps in itself");
}

TEST_F(EarphoneEndpointsTest, FindsWhatThePlatformListed)
{
    AddSpeaker();
    ConnectHeadset();
    nodes.AddHeadset(test::otherAddress);
    service.ConnectHeadset({.address = test::otherAddress, .label = "other", .handsFreeRender = false});
    endpoints.Fill();

    Find(test::headsetKey);
    EXPECT_STREQ(stereo.devicePwszAllID.get(), service.Id("headset stereo").c_str());
    EXPECT_STREQ(render.devicePwszAllID.get(), service.Id("headset hands-free").c_str());
    EXPECT_STREQ(capture.devicePwszAllID.get(), service.Id("headset microphone").c_str());

    EarEndpointInfo noRender;
    handler->GetEarPwszAllID(test::otherKey, stereo, noRender, capture);
    EXPECT_STREQ(stereo.devicePwszAllID.get(), service.Id("other stereo").c_str());
    EXPECT_FALSE(noRender.devicePwszAllID);
    EXPECT_STREQ(capture.devicePwszAllID.get(), service.Id("other microphone").c_str());
}

TEST_F(EarphoneEndpointsTest, ThePlatformIsNotAsked)
{
    Insert(L"a", "eRender", 1, "1");
    Find("1");
    handler->GetEarSpeakerPwszAllID(stereo);
    handler->RefreshEarDeviceState();
    EXPECT_EQ(faults.Calls(""), 0U);
}

// --- the built-in speaker ---

constexpr std::wstring_view builtIn = L"{00000000-0000-0000-FFFF-FFFFFFFFFFFF}";

TEST_F(EarphoneEndpointsTest, WithoutListThereIsNoSpeaker)
{
    stereo = Before();
    handler->GetEarSpeakerPwszAllID(stereo);
    ExpectBefore(stereo);
    EXPECT_THAT(test::LogLines(), ElementsAre("3 GetEarPwszAllID audioDeviceSet.size()<=0 "
                                              "(HeadsetAudioFeatureHandler::GetEarSpeakerPwszAllID)"));
}

TEST_F(EarphoneEndpointsTest, WithoutEndpointOfTheOwnContainerTheOutputIsLeft)
{
    Insert(L"a", "eRender", 0, "", "DEVICE_STATE_ACTIVE", L"{00000000-0000-0000-ffff-ffffffffffff}");
    Insert(L"b", "eRender", 0, "", "DEVICE_STATE_ACTIVE", L"00000000-0000-0000-FFFF-FFFFFFFFFFFF");
    Insert(L"c", "eRender", 0, "", "DEVICE_STATE_ACTIVE", L"{00000000-0000-0000-FFFF-FFFFFFFFFFFF}}");
    Insert(L"d", "eRender", 0, "", "DEVICE_STATE_ACTIVE", L"{00000000-0000-0000-FFFF-FFFFFFFFFFFE}");
    Insert(L"e", "eRender", 0, "");
    handler->GetEarSpeakerPwszAllID(stereo);
    ExpectNothing(stereo);
    render = Before();
    handler->GetEarSpeakerPwszAllID(render);
    ExpectBefore(render);
    EXPECT_THAT(test::LogLines(), IsEmpty());
}

TEST_F(EarphoneEndpointsTest, TheFirstByIdOfTheOwnContainerIsTheSpeaker)
{
    Insert(L"a", "eRender", 1, "1");
    Insert(L"c", "eRender", 0, "later", "DEVICE_STATE_ACTIVE", builtIn);
    Insert(L"b", "eRender", 5, "key", "DEVICE_STATE_UNPLUGGED", builtIn);
    handler->GetEarSpeakerPwszAllID(stereo);
    ExpectInfo(stereo, L"b", "DEVICE_STATE_UNPLUGGED", "eRender", 5, "key");
    EXPECT_THAT(test::LogLines(), IsEmpty());
}

TEST_F(EarphoneEndpointsTest, FlowAndStateOfTheSpeakerAreNotLookedAt)
{
    Insert(L"a", "eCapture", 0, "", "DEVICE_STATE_DISABLED", builtIn);
    handler->GetEarSpeakerPwszAllID(stereo);
    ExpectInfo(stereo, L"a", "DEVICE_STATE_DISABLED", "eCapture", 0, "");
}

TEST_F(EarphoneEndpointsTest, ABuiltInSpeakerIsFoundBeforeABuiltInMicrophone)
{
    service.AddEndpoint({.label = "microphone", .flow = eCapture, .containerId = sim::builtInContainer});
    AddSpeaker();
    endpoints.Fill();
    handler->GetEarSpeakerPwszAllID(stereo);
    EXPECT_STREQ(stereo.devicePwszAllID.get(), service.Id("speaker").c_str());
}

/// Looks at the endpoint lock whenever the module converts a text.
class ConversionSpy
{
public:
    ConversionSpy() : patch_(nullptr, "KERNEL32.dll", "WideCharToMultiByte", &Convert) { Current() = this; }
    ~ConversionSpy() { Current() = nullptr; }
    ConversionSpy(const ConversionSpy&) = delete;
    ConversionSpy& operator=(const ConversionSpy&) = delete;

    int conversions = 0;
    bool isLockAlwaysHeld = true;

private:
    static ConversionSpy*& Current()
    {
        static ConversionSpy* current = nullptr;
        return current;
    }
    static int WINAPI Convert(UINT page, DWORD flags, LPCWCH wide, int wideSize, LPSTR narrow, int size, LPCCH standIn,
                              LPBOOL isStandInUsed)
    {
        ConversionSpy& spy = *Current();
        ++spy.conversions;
        spy.isLockAlwaysHeld = spy.isLockAlwaysHeld && !test::IsEndpointLockFree();
        return spy.patch_.Original<int WINAPI(UINT, DWORD, LPCWCH, int, LPSTR, int, LPCCH, LPBOOL)>()(
            page, flags, wide, wideSize, narrow, size, standIn, isStandInUsed);
    }

    test::ImportPatch patch_;
};

TEST_F(EarphoneEndpointsTest, TheEndpointLockIsHeldWhileTheSpeakerIsLookedFor)
{
    Insert(L"a", "eRender", 0, "", "DEVICE_STATE_ACTIVE", L"{5EAD5E70-0000-4000-8000-0A1B2C3D4E5F}");
    Insert(L"b", "eRender", 0, "", "DEVICE_STATE_ACTIVE", builtIn);
    ConversionSpy spy;
    handler->GetEarSpeakerPwszAllID(stereo);
    EXPECT_GE(spy.conversions, 2);
    EXPECT_TRUE(spy.isLockAlwaysHeld);
    EXPECT_TRUE(test::IsEndpointLockFree());
}

} // namespace
