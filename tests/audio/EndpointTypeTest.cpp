// Which headset an endpoint belongs to, and which of its endpoints it is.
#include "audio/HeadFeatureConnect.h"
#include "tests/audio/AudioTest.h"
#include "tests/audio/ComCreations.h"
#include "tests/audio/FakeDevices.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>

namespace
{

constexpr GUID container = {0x0000000A, 0xABCD, 0xEF01, {1, 2, 3, 4, 5, 6, 7, 8}};

class EndpointTypeTest : public test::AudioTest
{
protected:
    EndpointTypeTest()
    {
        properties.type = VT_CLSID;
        properties.guid = container;
        record.pszFlow = "eRender";
        record.deviceFriendlyName = L"Headphones (Name)";
        record.deviceTypeID = 7; // shows whether it is written
        record.deviceMacAddr = "before";
    }
    ~EndpointTypeTest() override
    {
        EXPECT_EQ(properties.Release(), 1U);
        properties.Release();
    }

    void AddHeadsetNode() { nodes.AddHeadset(test::headsetAddress, container); }

    HRESULT Fill()
    {
        HRESULT result = E_UNEXPECTED;
        HeadFeatureConnect::GetEndPointTypeAndMac(result, &properties, record);
        return result;
    }

    void ExpectUntouched() const
    {
        EXPECT_STREQ(record.containerId, L"");
        EXPECT_EQ(record.deviceMacAddr, "before");
        EXPECT_EQ(record.deviceTypeID, 7U);
    }

    test::FakeProperties& properties = *new test::FakeProperties();
    EndpointRecord record;

private:
    const ULONG references_ = properties.AddRef();
};

TEST_F(EndpointTypeTest, AsksOnceForTheContainer)
{
    EXPECT_EQ(Fill(), S_OK);
    ASSERT_EQ(properties.asked.size(), 1U);
    EXPECT_EQ(test::GuidText(properties.asked[0].fmtid), "{8C7ED206-3F8A-4827-B3AB-AE9E1FAEFC6C}");
    EXPECT_EQ(properties.asked[0].pid, 2U);
}

TEST_F(EndpointTypeTest, AnEndpointOfNoHeadsetGetsItsContainerAndAnEmptyKeyAndKeepsItsType)
{
    EXPECT_EQ(Fill(), S_OK);
    EXPECT_STREQ(record.containerId, L"{0000000A-ABCD-EF01-0102-030405060708}");
    EXPECT_EQ(record.deviceMacAddr, "");
    EXPECT_EQ(record.deviceTypeID, 7U);
}

TEST_F(EndpointTypeTest, AnEndpointOfAHeadsetGetsItsContainerAndKey)
{
    AddHeadsetNode();
    EXPECT_EQ(Fill(), S_OK);
    EXPECT_STREQ(record.containerId, L"{0000000A-ABCD-EF01-0102-030405060708}");
    EXPECT_EQ(record.deviceMacAddr, "11111822610015");
    EXPECT_EQ(record.pszFlow, "eRender");
    EXPECT_EQ(record.deviceFriendlyName, L"Headphones (Name)");
}

TEST_F(EndpointTypeTest, AValueThatIsNoGuidLeavesTheRecord)
{
    AddHeadsetNode();
    for (const VARTYPE type : {VT_EMPTY, VT_LPWSTR, VT_UI4})
    {
        properties.type = type;
        properties.text = L"{0000000A-ABCD-EF01-0102-030405060708}";
        EXPECT_EQ(Fill(), S_OK);
        ExpectUntouched();
    }
}

TEST_F(EndpointTypeTest, AFailureIsGivenToTheCallerAndLeavesTheRecord)
{
    AddHeadsetNode();
    properties.type = VT_EMPTY;
    properties.result = static_cast<HRESULT>(0x88890004);
    EXPECT_EQ(Fill(), static_cast<HRESULT>(0x88890004));
    ExpectUntouched();
}

TEST_F(EndpointTypeTest, AValueThatCameWithAFailureLeavesTheRecord)
{
    AddHeadsetNode();
    properties.result = static_cast<HRESULT>(0x88890004);
    EXPECT_EQ(Fill(), static_cast<HRESULT>(0x88890004));
    ExpectUntouched();
}

TEST_F(EndpointTypeTest, AnySuccessWillDo)
{
    AddHeadsetNode();
    properties.result = S_FALSE;
    EXPECT_EQ(Fill(), S_FALSE);
    EXPECT_EQ(record.deviceMacAddr, "11111822610015");
}

/// Flow and name of an endpoint, and the type that follows from them.
struct FlowAndName
{
    const char* name; // of the test
    const char* flow;
    const wchar_t* friendlyName;
    std::uint32_t type;
};

void PrintTo(const FlowAndName& endpoint, std::ostream* stream)
{
    *stream << endpoint.name;
}

class FlowAndNameTest : public EndpointTypeTest, public testing::WithParamInterface<FlowAndName>
{
};

TEST_P(FlowAndNameTest, DecideTheTypeOfAHeadsetsEndpoint)
{
    AddHeadsetNode();
    record.pszFlow = GetParam().flow;
    record.deviceFriendlyName = GetParam().friendlyName;
    Fill();
    EXPECT_EQ(record.deviceTypeID, GetParam().type);
    EXPECT_EQ(record.deviceMacAddr, "11111822610015");
}

TEST_P(FlowAndNameTest, DecideNothingForAnEndpointOfNoHeadset)
{
    record.pszFlow = GetParam().flow;
    record.deviceFriendlyName = GetParam().friendlyName;
    record.deviceTypeID = 0;
    Fill();
    EXPECT_EQ(record.deviceTypeID, 0U);
    EXPECT_EQ(record.deviceMacAddr, "");
}

INSTANTIATE_TEST_SUITE_P(
    Endpoints, FlowAndNameTest,
    testing::Values(FlowAndName{"Stereo", "eRender", L"Headphones (Name Stereo)", 1},
                    FlowAndName{"HandsFree", "eRender", L"Headset (Name Hands-Free AG Audio)", 2},
                    FlowAndName{"HandsFreeAlone", "eRender", L"Hands-Free", 2},
                    FlowAndName{"HandsFreeAtTheEnd", "eRender", L"Headset Hands-Free", 2},
                    FlowAndName{"HandsFreeInLowerCase", "eRender", L"Headset (Name hands-free AG Audio)", 1},
                    FlowAndName{"HandsFreeWithoutHyphen", "eRender", L"Headset (Name Hands Free AG Audio)", 1},
                    FlowAndName{"ShortName", "eRender", L"Hands-Fre", 1}, FlowAndName{"NoName", "eRender", L"", 1},
                    FlowAndName{"Microphone", "eCapture", L"Headset Microphone (Name Hands-Free AG Audio)", 2},
                    FlowAndName{"MicrophoneWithoutHandsFree", "eCapture", L"Microphone", 2},
                    FlowAndName{"MicrophoneWithoutName", "eCapture", L"", 2},
                    FlowAndName{"NoFlow", "", L"Headset (Name Hands-Free AG Audio)", 7},
                    FlowAndName{"FlowInLowerCase", "erender", L"Headphones", 7},
                    FlowAndName{"OtherFlow", "eAll", L"Headphones", 7}),
    [](const auto& instance) { return std::string(instance.param.name); });

} // namespace
