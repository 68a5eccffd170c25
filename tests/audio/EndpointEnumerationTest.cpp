// The list of the computer's audio endpoints.
#include "audio/HeadFeatureConnect.h"
#include "simulator/audio/AudioService.h"
#include "tests/audio/ApartmentThread.h"
#include "tests/audio/AudioTest.h"
#include "tests/audio/ComCreations.h"
#include "tests/audio/FakeDevices.h"
#include "tests/audio/SetupApiSpy.h"
#include "tests/support/LogLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using test::ApartmentKind;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class EndpointEnumerationTest : public test::AudioTest
{
protected:
    static EndpointList List()
    {
        EndpointList list;
        HeadFeatureConnect::GetEndPointNameList(list);
        return list;
    }

    std::wstring Add(const std::string& label, EDataFlow flow = eRender)
    {
        return service.AddEndpoint({.label = label, .flow = flow});
    }
};

TEST_F(EndpointEnumerationTest, FillsEveryFieldOfASpeaker)
{
    const std::wstring id = AddSpeaker();
    const EndpointList list = List();
    ASSERT_THAT(list, SizeIs(1));
    EXPECT_EQ(list.begin()->first, id);
    const EndpointRecord& record = list.begin()->second;
    EXPECT_EQ(record.devicePwszAllID, id);
    EXPECT_EQ(record.deviceReserved, "");
    EXPECT_EQ(record.deviceStateName, "DEVICE_STATE_ACTIVE");
    EXPECT_EQ(record.pszFlow, "eRender");
    EXPECT_EQ(record.deviceFriendlyName, L"Speakers (Built-in)");
    EXPECT_STREQ(record.containerId, L"{00000000-0000-0000-FFFF-FFFFFFFFFFFF}");
    EXPECT_EQ(record.deviceTypeID, 0U);
    EXPECT_EQ(record.deviceMacAddr, "");
    EXPECT_THAT(test::LogLines(), IsEmpty());
}

TEST_F(EndpointEnumerationTest, TellsTheThreeEndpointsOfAHeadsetApart)
{
    ConnectHeadset();
    const EndpointList list = List();
    ASSERT_THAT(list, SizeIs(3));

    const EndpointRecord& stereo = list.at(service.Id("headset stereo"));
    EXPECT_EQ(stereo.pszFlow, "eRender");
    EXPECT_EQ(stereo.deviceFriendlyName, L"Headphones (Headset Stereo)");
    EXPECT_STREQ(stereo.containerId, L"{5EAD5E70-0000-4000-8000-0A1B2C3D4E5F}");
    EXPECT_EQ(stereo.deviceTypeID, 1U);
    EXPECT_EQ(stereo.deviceMacAddr, "11111822610015");

    const EndpointRecord& handsFree = list.at(service.Id("headset hands-free"));
    EXPECT_EQ(handsFree.pszFlow, "eRender");
    EXPECT_EQ(handsFree.deviceTypeID, 2U);
    EXPECT_EQ(handsFree.deviceMacAddr, "11111822610015");

    const EndpointRecord& microphone = list.at(service.Id("headset microphone"));
    EXPECT_EQ(microphone.pszFlow, "eCapture");
    EXPECT_EQ(microphone.deviceTypeID, 2U);
    EXPECT_EQ(microphone.deviceMacAddr, "11111822610015");
}

TEST_F(EndpointEnumerationTest, NamesTheStatesAndLeavesOutWhatIsNotPresent)
{
    Add("active");
    Add("disabled");
    Add("unplugged", eCapture);
    Add("not present");
    service.SetState("disabled", DEVICE_STATE_DISABLED);
    service.SetState("unplugged", DEVICE_STATE_UNPLUGGED);
    service.SetState("not present", DEVICE_STATE_NOTPRESENT);

    EndpointList list = List();
    EXPECT_THAT(list, SizeIs(3));
    EXPECT_EQ(list[service.Id("active")].deviceStateName, "DEVICE_STATE_ACTIVE");
    EXPECT_EQ(list[service.Id("disabled")].deviceStateName, "DEVICE_STATE_DISABLED");
    EXPECT_EQ(list[service.Id("unplugged")].deviceStateName, "DEVICE_STATE_UNPLUGGED");
}

TEST_F(EndpointEnumerationTest, WhatAnEndpointDoesNotHaveStaysEmpty)
{
    const std::wstring id = Add("bare");
    const EndpointRecord record = List().at(id);
    EXPECT_EQ(record.deviceFriendlyName, L"");
    EXPECT_STREQ(record.containerId, L"");
    EXPECT_EQ(record.deviceTypeID, 0U);
    EXPECT_EQ(record.deviceMacAddr, "");
}

TEST_F(EndpointEnumerationTest, ReplacesWhatTheListHeld)
{
    const std::wstring id = Add("one");
    EndpointList list;
    list[L"old"].devicePwszAllID = L"old";
    list[id].deviceReserved = "old";
    HeadFeatureConnect::GetEndPointNameList(list);
    EXPECT_THAT(list, SizeIs(1));
    EXPECT_EQ(list.at(id).deviceReserved, "");
}

TEST_F(EndpointEnumerationTest, WithoutEndpointsTheListIsEmptiedAndNothingIsLogged)
{
    EndpointList list;
    list[L"old"].devicePwszAllID = L"old";
    HeadFeatureConnect::GetEndPointNameList(list);
    EXPECT_THAT(list, IsEmpty());
    EXPECT_THAT(test::LogLines(), IsEmpty());
}

TEST_F(EndpointEnumerationTest, IdsAreInTheOrderOfTheirCharacters)
{
    service.AddEndpoint({.label = "1", .id = L"b"});
    service.AddEndpoint({.label = "2", .id = L"B"});
    service.AddEndpoint({.label = "3", .id = L"a"});
    std::vector<std::wstring> ids;
    for (const auto& [id, record] : List())
    {
        ids.push_back(id);
    }
    EXPECT_THAT(ids, ElementsAre(L"B", L"a", L"b"));
}

TEST_F(EndpointEnumerationTest, AsksThePlatformInTheOrderOfTheRecord)
{
    Add("one");
    Add("two", eCapture);
    service.SetVerbose(true);
    timeline.Clear();
    List();
    EXPECT_THAT(test::Story({"audio"}),
                ElementsAre("audio CoCreateInstance MMDeviceEnumerator -> 0x00000000",
                            "audio EnumAudioEndpoints 2 11 -> 0x00000000", "audio GetCount -> 0x00000000",
                            "audio Item 0 -> 0x00000000", "audio GetState one -> 0x00000000",
                            "audio GetId one -> 0x00000000", "audio OpenPropertyStore one -> 0x00000000",
                            "audio IMMDevice::QueryInterface -> 0x00000000", "audio GetDataFlow one -> 0x00000000",
                            "audio GetValue one -> 0x00000000", "audio GetValue one -> 0x00000000",
                            "audio Item 1 -> 0x00000000", "audio GetState two -> 0x00000000",
                            "audio GetId two -> 0x00000000", "audio OpenPropertyStore two -> 0x00000000",
                            "audio IMMDevice::QueryInterface -> 0x00000000", "audio GetDataFlow two -> 0x00000000",
                            "audio GetValue two -> 0x00000000", "audio GetValue two -> 0x00000000"));
}

TEST_F(EndpointEnumerationTest, WithoutEndpointsNoneIsAskedFor)
{
    service.SetVerbose(true);
    List();
    EXPECT_THAT(test::Story({"audio"}),
                ElementsAre("audio CoCreateInstance MMDeviceEnumerator -> 0x00000000",
                            "audio EnumAudioEndpoints 2 11 -> 0x00000000", "audio GetCount -> 0x00000000"));
}

TEST_F(EndpointEnumerationTest, CreatesTheEnumeratorForEveryContext)
{
    std::vector<std::string> creations;
    test::ComCreations spy(
        [&](REFCLSID classId, DWORD context, REFIID riid, void**)
        {
            creations.push_back(test::GuidText(classId) + " " + std::to_string(context) + " " + test::GuidText(riid));
            return E_FAIL;
        });
    List();
    EXPECT_THAT(creations,
                ElementsAre("{BCDE0395-E52F-467C-8E3D-C4579291692E} 23 {A95664D2-9614-4F35-A746-DE8DB63617E6}"));
}

TEST_F(EndpointEnumerationTest, TakesNoLock)
{
    Add("one");
    bool isFree = false;
    AtAudioCall("CoCreateInstance", [&] { isFree = test::IsEndpointLockFree() && test::IsDefaultSetLockFree(); });
    List();
    EXPECT_TRUE(isFree);
}

TEST_F(EndpointEnumerationTest, OfTwoEndpointsWithOneIdTheFirstIsKept)
{
    test::ComCreations creations(
        [](REFCLSID, DWORD, REFIID, void** object)
        {
            *object = new test::FakeEnumerator({{.id = L"same", .name = L"first"},
                                                {.id = L"other", .name = L"second"},
                                                {.id = L"same", .name = L"third"}});
            return S_OK;
        });
    const EndpointList list = List();
    EXPECT_THAT(list, SizeIs(2));
    EXPECT_EQ(list.at(L"same").deviceFriendlyName, L"first");
    EXPECT_EQ(list.at(L"other").deviceFriendlyName, L"second");
    EXPECT_EQ(test::liveFakes, 0);
}

TEST_F(EndpointEnumerationTest, StatesAndFlowsWithoutNameAreEmpty)
{
    test::ComCreations creations(
        [](REFCLSID, DWORD, REFIID, void** object)
        {
            *object = new test::FakeEnumerator({{.id = L"a", .state = 0},
                                                {.id = L"b", .state = 3},
                                                {.id = L"c", .state = 16},
                                                {.id = L"d", .state = DEVICE_STATE_NOTPRESENT},
                                                {.id = L"e", .flow = 2},
                                                {.id = L"f", .flow = 3},
                                                {.id = L"g", .flow = -1}});
            return S_OK;
        });
    const EndpointList list = List();
    EXPECT_EQ(list.at(L"a").deviceStateName, "");
    EXPECT_EQ(list.at(L"b").deviceStateName, "");
    EXPECT_EQ(list.at(L"c").deviceStateName, "");
    EXPECT_EQ(list.at(L"d").deviceStateName, "DEVICE_STATE_NOTPRESENT");
    EXPECT_EQ(list.at(L"e").pszFlow, "");
    EXPECT_EQ(list.at(L"f").pszFlow, "");
    EXPECT_EQ(list.at(L"g").pszFlow, "");
    EXPECT_EQ(test::liveFakes, 0);
}

TEST_F(EndpointEnumerationTest, ANameThatIsNoTextIsNoName)
{
    test::ComCreations creations(
        [](REFCLSID, DWORD, REFIID, void** object)
        {
            *object = new test::FakeEnumerator({{.id = L"a", .nameType = VT_CLSID}, {.id = L"b", .nameType = VT_UI4}});
            return S_OK;
        });
    const EndpointList list = List();
    EXPECT_EQ(list.at(L"a").deviceFriendlyName, L"");
    EXPECT_EQ(list.at(L"b").deviceFriendlyName, L"");
    EXPECT_EQ(test::liveFakes, 0);
}

TEST_F(EndpointEnumerationTest, ANameThatComesWithAFailureIsANameAllTheSame)
{
    test::ComCreations creations(
        [](REFCLSID, DWORD, REFIID, void** object)
        {
            *object = new test::FakeEnumerator({{.id = L"a", .name = L"Speaker", .nameResult = E_FAIL}});
            return S_OK;
        });
    EXPECT_EQ(List().at(L"a").deviceFriendlyName, L"Speaker");
    EXPECT_EQ(test::liveFakes, 0);
}

// --- failures ---

TEST_F(EndpointEnumerationTest, AnIdOrAStateThatComesWithAFailureIsNotTaken)
{
    test::ComCreations creations(
        [](REFCLSID, DWORD, REFIID, void** object)
        {
            *object = new test::FakeEnumerator({{.id = L"a", .idResult = E_FAIL}, {.id = L"b", .stateResult = E_FAIL}});
            return S_OK;
        });
    const EndpointList list = List();
    EXPECT_THAT(list, SizeIs(1));
    EXPECT_EQ(list.at(L"b").deviceStateName, "");
    EXPECT_EQ(test::liveFakes, 0);
}

TEST_F(EndpointEnumerationTest, AFailedEnumeratorIsLoggedWithItsResultAndLeavesTheListEmpty)
{
    AddSpeaker();
    faults.FailCall("CoCreateInstance::MMDeviceEnumerator", 1, E_FAIL);
    EndpointList list;
    list[L"old"].devicePwszAllID = L"old";
    HeadFeatureConnect::GetEndPointNameList(list);
    EXPECT_THAT(list, IsEmpty());
    EXPECT_THAT(test::LogLines(),
                ElementsAre("4 pEnumerator nullptr;hr-2147467259(HeadFeatureConnect::GetEndPointNameList)"));
}

TEST_F(EndpointEnumerationTest, AMissingEnumeratorIsLoggedWithItsResult)
{
    AddSpeaker();
    service.SetCreation("MMDeviceEnumerator", sim::Creation::SuccessWithoutObject);
    EXPECT_THAT(List(), IsEmpty());
    EXPECT_THAT(test::LogLines(), ElementsAre("4 pEnumerator nullptr;hr0(HeadFeatureConnect::GetEndPointNameList)"));
}

TEST_F(EndpointEnumerationTest, AnEnumeratorThatComesWithAFailureIsNotUsedAndReleased)
{
    AddSpeaker();
    service.SetCreation("MMDeviceEnumerator", sim::Creation::FailureWithObject);
    test::ComCreations creations([](REFCLSID classId, DWORD context, REFIID riid, void** object)
                                 { return sim::CreateServiceObject(classId, nullptr, context, riid, object); });
    EXPECT_THAT(List(), IsEmpty());
    EXPECT_THAT(test::LogLines(),
                ElementsAre("4 pEnumerator nullptr;hr-2147467259(HeadFeatureConnect::GetEndPointNameList)"));
    EXPECT_THAT(service.LiveObjects(), IsEmpty());
}

TEST_F(EndpointEnumerationTest, AFailedEnumerationGivesNothingAndLogsNothing)
{
    for (const char* call : {"IMMDeviceEnumerator::EnumAudioEndpoints", "IMMDeviceCollection::GetCount"})
    {
        AddSpeaker();
        faults.FailCall(call, 1, E_OUTOFMEMORY);
        EXPECT_THAT(List(), IsEmpty()) << call;
        service.RemoveEndpoint("speaker");
    }
    EXPECT_THAT(test::LogLines(), IsEmpty());
}

TEST_F(EndpointEnumerationTest, WhatCannotBeReadOfOneEndpointStaysEmptyAndTheOthersAreWhole)
{
    AddSpeaker();
    ConnectHeadset();
    const std::wstring first = service.Id("speaker");
    const std::wstring second = service.Id("headset stereo");

    const auto listWithout = [&](const char* call)
    {
        faults.Clear();
        faults.FailCall(call, 1, static_cast<HRESULT>(0x88890004));
        EndpointList list = List();
        EXPECT_THAT(list, SizeIs(4)) << call;
        EXPECT_EQ(list[second].deviceMacAddr, "11111822610015") << call;
        EXPECT_EQ(list[second].deviceStateName, "DEVICE_STATE_ACTIVE") << call;
        EXPECT_EQ(list[second].deviceTypeID, 1U) << call;
        return list[first];
    };

    EXPECT_EQ(listWithout("IMMDevice::GetState").deviceStateName, "");
    EXPECT_EQ(listWithout("IMMEndpoint::GetDataFlow").pszFlow, "");
    EXPECT_EQ(listWithout("IMMDevice::QueryInterface").pszFlow, "");
    EXPECT_EQ(listWithout("IPropertyStore::GetValue").deviceFriendlyName, L"");
    const EndpointRecord withoutProperties = listWithout("IMMDevice::OpenPropertyStore");
    EXPECT_EQ(withoutProperties.deviceFriendlyName, L"");
    EXPECT_STREQ(withoutProperties.containerId, L"");
    EXPECT_EQ(withoutProperties.pszFlow, "eRender");
}

TEST_F(EndpointEnumerationTest, AnEndpointThatVanishesMeanwhileDoesNoHarm)
{
    ConnectHeadset();
    const std::wstring stereoId = service.Id("headset stereo");
    test::SetupApiSpy spy;
    spy.beforeOpen = [&]
    {
        if (service.HasEndpoint("headset stereo"))
        {
            service.RemoveEndpoint("headset stereo");     // the one that is being read
            service.RemoveEndpoint("headset hands-free"); // the one that comes next
        }
    };
    const EndpointList list = List();
    EXPECT_EQ(list.at(stereoId).deviceMacAddr, "11111822610015");
    EXPECT_EQ(list.count(service.Id("headset microphone")), 1U);
    for (const auto& [id, record] : list)
    {
        EXPECT_EQ(id, record.devicePwszAllID);
    }
}

TEST_F(EndpointEnumerationTest, NoFailureOfACallIsRaisedOrLeaks)
{
    AddSpeaker();
    ConnectHeadset();
    WithEachCallFailing(
        [&]
        {
            const EndpointList list = List();
            for (const auto& [id, record] : list)
            {
                EXPECT_EQ(id, record.devicePwszAllID);
                EXPECT_TRUE(record.deviceTypeID == 0 || !record.deviceMacAddr.empty());
            }
        });
    EXPECT_THAT(List(), SizeIs(4));
}

TEST_F(EndpointEnumerationTest, EverythingFailingGivesNothing)
{
    AddSpeaker();
    faults.FailAll("", E_FAIL);
    EXPECT_THAT(List(), IsEmpty());
    faults.Clear();
    faults.FailAll("IMM", S_FALSE);
    EXPECT_THAT(List(), IsEmpty());
    faults.Clear();
    faults.FailAll("IMMDevice::", E_FAIL);
    EXPECT_THAT(List().count(service.Id("speaker")), 0U); // an endpoint without id cannot be named
}

// --- apartments ---

class EnumerationInApartmentTest : public EndpointEnumerationTest, public testing::WithParamInterface<ApartmentKind>
{
};

TEST_P(EnumerationInApartmentTest, WorksAndLeavesTheThreadAsItWas)
{
    AddSpeaker();
    ConnectHeadset();
    test::RunIn(GetParam(), [&] { EXPECT_THAT(List(), SizeIs(4)); });
    EXPECT_THAT(test::LogLinesOf({"HeadFeatureConnect::GetEndPointNameList"}), IsEmpty());
}

TEST_P(EnumerationInApartmentTest, FailuresLeaveTheThreadAsItWas)
{
    AddSpeaker();
    test::RunIn(GetParam(), [&] { WithEachCallFailing([&] { List(); }); });
}

TEST_P(EnumerationInApartmentTest, AFailedEnumeratorIsAskedForOnceMoreOnlyForWantOfAnApartment)
{
    std::vector<HRESULT> answers;
    test::ComCreations creations(
        [&](REFCLSID classId, DWORD context, REFIID riid, void** object)
        {
            answers.push_back(sim::CreateServiceObject(classId, nullptr, context, riid, object));
            return answers.back();
        });
    faults.FailAll("CoCreateInstance::", E_ACCESSDENIED);
    test::RunIn(GetParam(), [&] { List(); });
    if (GetParam() == ApartmentKind::None)
    {
        EXPECT_THAT(answers, ElementsAre(CO_E_NOTINITIALIZED, E_ACCESSDENIED));
    }
    else
    {
        EXPECT_THAT(answers, ElementsAre(E_ACCESSDENIED));
    }
    EXPECT_THAT(test::LogLines(),
                ElementsAre("4 pEnumerator nullptr;hr-2147024891(HeadFeatureConnect::GetEndPointNameList)"));
}

INSTANTIATE_TEST_SUITE_P(Threads, EnumerationInApartmentTest,
                         testing::Values(ApartmentKind::None, ApartmentKind::SingleThreaded,
                                         ApartmentKind::Multithreaded),
                         test::ApartmentName());

} // namespace
