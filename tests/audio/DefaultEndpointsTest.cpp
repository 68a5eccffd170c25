// The set of default render endpoints.
#include "audio/HeadFeatureConnect.h"
#include "simulator/audio/AudioService.h"
#include "tests/audio/ApartmentThread.h"
#include "tests/audio/AudioTest.h"
#include "tests/audio/ComCreations.h"
#include "tests/audio/FakeDevices.h"
#include "tests/support/LogLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace
{

using test::ApartmentKind;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* startLine = "3 GetDefaultEndpointName: start (HeadFeatureConnect::GetDefaultEndPointName)";

class DefaultEndpointsTest : public test::AudioTest
{
protected:
    DefaultEndpointsTest()
    {
        one = service.AddEndpoint({.label = "one"});
        two = service.AddEndpoint({.label = "two"});
        service.AddEndpoint({.label = "microphone", .flow = eCapture});
        timeline.Clear();
    }

    std::wstring one;
    std::wstring two;
};

TEST_F(DefaultEndpointsTest, HoldsTheConsoleAndTheCommunicationsDefault)
{
    service.SetDefault("one", eConsole);
    service.SetDefault("two", eCommunications);
    EXPECT_THAT(HeadFeatureConnect::GetDefaultEndPointName(), ElementsAre(one, two));
    EXPECT_THAT(test::LogLines(), ElementsAre(startLine));
}

TEST_F(DefaultEndpointsTest, TheMultimediaDefaultDoesNotCount)
{
    service.SetDefault("one");
    service.SetDefault("two", eMultimedia);
    EXPECT_THAT(HeadFeatureConnect::GetDefaultEndPointName(), ElementsAre(one));
}

TEST_F(DefaultEndpointsTest, OneEndpointForBothRolesIsHeldOnce)
{
    service.SetDefault("two");
    EXPECT_THAT(HeadFeatureConnect::GetDefaultEndPointName(), ElementsAre(two));
}

TEST_F(DefaultEndpointsTest, AsksForTheRenderDefaultsInTurn)
{
    service.SetDefault("one", eConsole);
    service.SetDefault("two", eCommunications);
    service.SetVerbose(true);
    timeline.Clear();
    HeadFeatureConnect::GetDefaultEndPointName();
    EXPECT_THAT(test::Story({"audio", "log3", "log4"}),
                ElementsAre("log3 GetDefaultEndpointName: start (HeadFeatureConnect::GetDefaultEndPointName)",
                            "audio CoCreateInstance MMDeviceEnumerator -> 0x00000000",
                            "audio GetDefaultAudioEndpoint 0 0 -> 0x00000000", "audio GetId one -> 0x00000000",
                            "audio GetDefaultAudioEndpoint 0 2 -> 0x00000000", "audio GetId two -> 0x00000000"));
}

TEST_F(DefaultEndpointsTest, CreatesTheEnumeratorForEveryContext)
{
    std::vector<std::string> creations;
    const test::ComCreations spy(
        [&](REFCLSID classId, DWORD context, REFIID riid, void**)
        {
            creations.push_back(test::GuidText(classId) + " " + std::to_string(context) + " " + test::GuidText(riid));
            return E_FAIL;
        });
    EXPECT_THAT(HeadFeatureConnect::GetDefaultEndPointName(), IsEmpty());
    EXPECT_THAT(creations,
                ElementsAre("{BCDE0395-E52F-467C-8E3D-C4579291692E} 23 {A95664D2-9614-4F35-A746-DE8DB63617E6}"));
}

TEST_F(DefaultEndpointsTest, HoldsTheEndpointLockAllTheTime)
{
    int looks = 0;
    service.SetVerbose(true);
    AtAudioCall("",
                [&]
                {
                    ++looks;
                    EXPECT_FALSE(test::IsEndpointLockFree());
                    EXPECT_TRUE(test::IsDefaultSetLockFree());
                });
    HeadFeatureConnect::GetDefaultEndPointName();
    EXPECT_EQ(looks, 5);
    EXPECT_TRUE(test::IsEndpointLockFree());
}

// --- both or none ---

TEST_F(DefaultEndpointsTest, WithoutAnyDefaultTheSetIsEmpty)
{
    service.RemoveEndpoint("one");
    service.RemoveEndpoint("two");
    timeline.Clear();
    EXPECT_THAT(HeadFeatureConnect::GetDefaultEndPointName(), IsEmpty());
    EXPECT_THAT(test::LogLines(), ElementsAre(startLine));
}

TEST_F(DefaultEndpointsTest, WithoutCommunicationsDefaultTheSetIsEmpty)
{
    faults.FailCall("IMMDeviceEnumerator::GetDefaultAudioEndpoint", 2, static_cast<HRESULT>(0x80070490));
    EXPECT_THAT(HeadFeatureConnect::GetDefaultEndPointName(), IsEmpty());
    EXPECT_EQ(faults.Calls("IMMDeviceEnumerator::GetDefaultAudioEndpoint"), 2U);
}

TEST_F(DefaultEndpointsTest, WithoutConsoleDefaultTheOtherIsNotAskedFor)
{
    faults.FailCall("IMMDeviceEnumerator::GetDefaultAudioEndpoint", 1, static_cast<HRESULT>(0x80070490));
    EXPECT_THAT(HeadFeatureConnect::GetDefaultEndPointName(), IsEmpty());
    EXPECT_EQ(faults.Calls("IMMDeviceEnumerator::GetDefaultAudioEndpoint"), 1U);
}

TEST_F(DefaultEndpointsTest, AnIdThatIsMissingEmptiesTheSet)
{
    for (const std::uint32_t nth : {1U, 2U})
    {
        for (const HRESULT result : {E_OUTOFMEMORY, S_OK})
        {
            faults.Clear();
            faults.FailCall("IMMDevice::GetId", nth, result);
            EXPECT_THAT(HeadFeatureConnect::GetDefaultEndPointName(), IsEmpty()) << nth << " " << result;
            EXPECT_EQ(faults.Calls("IMMDevice::GetId"), nth);
        }
    }
}

TEST_F(DefaultEndpointsTest, AFailedEnumeratorGivesAnEmptySetAndNoFurtherLine)
{
    faults.FailCall("CoCreateInstance::MMDeviceEnumerator", 1, E_FAIL);
    EXPECT_THAT(HeadFeatureConnect::GetDefaultEndPointName(), IsEmpty());
    service.SetCreation("MMDeviceEnumerator", sim::Creation::SuccessWithoutObject);
    EXPECT_THAT(HeadFeatureConnect::GetDefaultEndPointName(), IsEmpty());
    EXPECT_THAT(test::LogLines(), ElementsAre(startLine, startLine));
}

TEST_F(DefaultEndpointsTest, AnEnumeratorThatComesWithAFailureIsNotUsedAndReleased)
{
    service.SetCreation("MMDeviceEnumerator", sim::Creation::FailureWithObject);
    test::ComCreations creations([](REFCLSID classId, DWORD context, REFIID riid, void** object)
                                 { return sim::CreateServiceObject(classId, nullptr, context, riid, object); });
    EXPECT_THAT(HeadFeatureConnect::GetDefaultEndPointName(), IsEmpty());
    EXPECT_THAT(service.LiveObjects(), IsEmpty());
}

TEST_F(DefaultEndpointsTest, ADefaultThatComesWithAFailureIsNone)
{
    HRESULT result = S_OK;
    test::ComCreations creations(
        [&](REFCLSID, DWORD, REFIID, void** object)
        {
            auto* const enumerator = new test::FakeEnumerator({{.id = L"a"}});
            enumerator->defaultResult = result;
            *object = static_cast<IMMDeviceEnumerator*>(enumerator);
            return S_OK;
        });
    EXPECT_THAT(HeadFeatureConnect::GetDefaultEndPointName(), ElementsAre(L"a"));
    result = E_FAIL;
    EXPECT_THAT(HeadFeatureConnect::GetDefaultEndPointName(), IsEmpty());
    EXPECT_EQ(test::liveFakes, 0);
}

TEST_F(DefaultEndpointsTest, EveryFailureOfACallGivesBothOrNoneAndFreesTheLock)
{
    service.SetDefault("one", eConsole);
    service.SetDefault("two", eCommunications);
    WithEachCallFailing(
        [&]
        {
            const DefaultSet set = HeadFeatureConnect::GetDefaultEndPointName();
            EXPECT_TRUE(set.empty() || set == (DefaultSet{one, two}));
            EXPECT_TRUE(test::IsEndpointLockFree());
        });
}

// --- apartments ---

class DefaultsInApartmentTest : public DefaultEndpointsTest, public testing::WithParamInterface<ApartmentKind>
{
};

TEST_P(DefaultsInApartmentTest, WorksAndLeavesTheThreadAsItWas)
{
    test::RunIn(GetParam(), [&] { EXPECT_THAT(HeadFeatureConnect::GetDefaultEndPointName(), ElementsAre(one)); });
}

TEST_P(DefaultsInApartmentTest, FailuresLeaveTheThreadAsItWas)
{
    test::RunIn(GetParam(), [&] { WithEachCallFailing([] { HeadFeatureConnect::GetDefaultEndPointName(); }); });
}

INSTANTIATE_TEST_SUITE_P(Threads, DefaultsInApartmentTest,
                         testing::Values(ApartmentKind::None, ApartmentKind::SingleThreaded,
                                         ApartmentKind::Multithreaded),
                         test::ApartmentName());

} // namespace
