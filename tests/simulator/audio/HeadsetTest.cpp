#include "tests/simulator/audio/AudioClient.h"

#include "simulator/audio/BluetoothDevices.h"
#include "simulator/audio/ContainerIds.h"
#include "simulator/audio/EndpointOptions.h"

#include <optional>
#include <stdexcept>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;

class HeadsetTest : public AudioServiceTest
{
protected:
    HeadsetTest() { Add("speaker"); }

    static std::wstring NameOf(const std::string& label)
    {
        OwnedValue value;
        Owned<IPropertyStore> store;
        EXPECT_EQ(GetDevice(label)->OpenPropertyStore(STGM_READ, store.Out()), S_OK);
        EXPECT_EQ(store->GetValue(nameKey, value.Out()), S_OK);
        return value.Get().vt == VT_LPWSTR ? value.Get().pwszVal : L"(none)";
    }

    static std::optional<GUID> ContainerOf(const std::string& label)
    {
        OwnedValue value;
        Owned<IPropertyStore> store;
        EXPECT_EQ(GetDevice(label)->OpenPropertyStore(STGM_READ, store.Out()), S_OK);
        EXPECT_EQ(store->GetValue(containerKey, value.Out()), S_OK);
        return value.Get().vt == VT_CLSID ? std::optional<GUID>(*value.Get().puuid) : std::nullopt;
    }

    RecordingClient client_;
};

constexpr GUID madeContainer = {0x5EAD5E70, 0, 0x4000, {0x80, 0x00, 0x0A, 0x1B, 0x2C, 0x3D, 0x4E, 0x5F}};

TEST_F(HeadsetTest, ItsEndpointsAppearAtOnce)
{
    service.ConnectHeadset({.address = "0a1b2c3d4e5f", .name = L"Buds"});
    EXPECT_THAT(service.Labels(), ElementsAre("speaker", "headset stereo", "headset hands-free", "headset microphone"));
    EXPECT_EQ(NameOf("headset stereo"), L"Headphones (Buds Stereo)");
    EXPECT_EQ(NameOf("headset hands-free"), L"Headset (Buds Hands-Free AG Audio)");
    EXPECT_EQ(NameOf("headset microphone"), L"Headset Microphone (Buds Hands-Free AG Audio)");
    EXPECT_EQ(ContainerOf("headset stereo"), madeContainer);
    EXPECT_EQ(ContainerOf("headset hands-free"), madeContainer);
    EXPECT_EQ(ContainerOf("headset microphone"), madeContainer);
    EXPECT_THAT(service.Id("headset microphone"), StartsWith(L"{0.0.1."));
    EXPECT_EQ(service.Default(eRender, eConsole), "speaker");
    EXPECT_EQ(service.Default(eCapture, eConsole), "headset microphone");
}

TEST_F(HeadsetTest, ItsNewEndpointsAreReportedAsAddedThenWithTheirState)
{
    const Registered registered(client_);
    service.ConnectHeadset({.address = "0A1B2C3D4E5F", .handsFreeCapture = false});
    WaitForIdle();
    EXPECT_THAT(client_.Events(),
                ElementsAre(Pair("added", service.Id("headset stereo")), Pair("state 1", service.Id("headset stereo")),
                            Pair("added", service.Id("headset hands-free")),
                            Pair("state 1", service.Id("headset hands-free"))));
}

TEST_F(HeadsetTest, ItCanLackEndpoints)
{
    service.ConnectHeadset({.address = "0A1B2C3D4E5F", .stereo = false, .handsFreeCapture = false});
    EXPECT_THAT(service.Labels(), ElementsAre("speaker", "headset hands-free"));
    service.ConnectHeadset(
        {.address = "000000000001", .label = "earphones", .handsFreeRender = false, .handsFreeCapture = false});
    EXPECT_THAT(service.Labels(), ElementsAre("speaker", "headset hands-free", "earphones stereo"));
}

TEST_F(HeadsetTest, ItsOptionsReachTheEndpoints)
{
    service.ConnectHeadset(
        {.address = "0A1B2C3D4E5F", .containerId = sim::builtInContainer, .visible = false, .volume = 0.5F});
    EXPECT_EQ(ContainerOf("headset stereo"), sim::builtInContainer);
    EXPECT_EQ(service.State("headset stereo"), 2U);
    EXPECT_EQ(service.Volume("headset hands-free"), 0.5F);
}

TEST_F(HeadsetTest, WindowsCanMakeItTheDefault)
{
    Add("microphone", eCapture);
    service.ConnectHeadset({.address = "0A1B2C3D4E5F", .becomesDefault = true});
    EXPECT_EQ(service.Default(eRender, eConsole), "headset stereo");
    EXPECT_EQ(service.Default(eRender, eMultimedia), "headset stereo");
    EXPECT_EQ(service.Default(eRender, eCommunications), "headset hands-free");
    EXPECT_EQ(service.Default(eCapture, eConsole), "headset microphone");
    EXPECT_EQ(service.Default(eCapture, eCommunications), "headset microphone");
}

TEST_F(HeadsetTest, ItsEndpointsAppearLater)
{
    const auto begin = std::chrono::steady_clock::now();
    service.ConnectHeadset({.address = "0A1B2C3D4E5F", .delay = 150ms});
    EXPECT_FALSE(service.HasEndpoint("headset stereo"));
    EXPECT_TRUE(service.WaitForState("headset stereo", 1, longWait));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 150ms);
    EXPECT_TRUE(service.HasEndpoint("headset microphone")) << "all at once";
}

TEST_F(HeadsetTest, ItsNameComesLaterStill)
{
    const Registered registered(client_);
    const auto begin = std::chrono::steady_clock::now();
    service.ConnectHeadset({.address = "0A1B2C3D4E5F",
                            .delay = 50ms,
                            .nameDelay = 100ms,
                            .handsFreeRender = false,
                            .handsFreeCapture = false});
    ASSERT_TRUE(service.WaitForState("headset stereo", 1, longWait));
    const std::wstring nameAtFirst = NameOf("headset stereo");
    ASSERT_TRUE(client_.WaitForEvents(3));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 150ms);
    EXPECT_EQ(nameAtFirst, L"(none)");
    EXPECT_EQ(NameOf("headset stereo"), L"Headphones (Headset Stereo)");
    const std::wstring id = service.Id("headset stereo");
    EXPECT_THAT(client_.Events(), ElementsAre(Pair("added", id), Pair("state 1", id), Pair("property 14", id)));
}

TEST_F(HeadsetTest, ItsContainerComesLaterStill)
{
    const Registered registered(client_);
    service.ConnectHeadset(
        {.address = "0A1B2C3D4E5F", .containerDelay = 200ms, .handsFreeRender = false, .handsFreeCapture = false});
    EXPECT_EQ(ContainerOf("headset stereo"), std::nullopt);
    ASSERT_TRUE(client_.WaitForEvents(3));
    EXPECT_EQ(ContainerOf("headset stereo"), madeContainer);
    EXPECT_EQ(client_.Events().at(2).first, "property 2");
}

TEST_F(HeadsetTest, DisconnectedItsEndpointsAreNotPresent)
{
    service.ConnectHeadset({.address = "0A1B2C3D4E5F", .becomesDefault = true});
    service.DisconnectHeadset("0a1b2c3d4e5f");
    EXPECT_EQ(service.State("headset stereo"), 4U);
    EXPECT_EQ(service.State("headset hands-free"), 4U);
    EXPECT_EQ(service.State("headset microphone"), 4U);
    EXPECT_EQ(service.Default(eRender, eCommunications), "speaker");
    EXPECT_EQ(service.Default(eCapture, eConsole), "");
}

TEST_F(HeadsetTest, ItsComebackIsAStateChangeOnly)
{
    const sim::HeadsetOptions options{.address = "0A1B2C3D4E5F", .handsFreeRender = false, .handsFreeCapture = false};
    service.ConnectHeadset(options);
    const std::wstring id = service.Id("headset stereo");
    service.DisconnectHeadset("0A1B2C3D4E5F");
    const Registered registered(client_);
    service.ConnectHeadset(options);
    // What would come after the comeback comes on the same thread, in order.
    service.ConnectHeadset({.address = "000000000001", .label = "other", .delay = 1ms});
    ASSERT_TRUE(service.WaitForState("other stereo", 1, longWait));
    WaitForIdle();
    auto events = client_.Events();
    std::erase_if(events, [&](const auto& event) { return event.second != id; });
    EXPECT_THAT(events, ElementsAre(Pair("state 1", id)));
    EXPECT_EQ(service.Id("headset stereo"), id);
}

TEST_F(HeadsetTest, ItsComebackCanBeLateToo)
{
    sim::HeadsetOptions options{.address = "0A1B2C3D4E5F"};
    service.ConnectHeadset(options);
    service.DisconnectHeadset(options.address);
    options.delay = 100ms;
    service.ConnectHeadset(options);
    EXPECT_EQ(service.State("headset stereo"), 4U);
    EXPECT_TRUE(service.WaitForState("headset stereo", 1, longWait));
}

TEST_F(HeadsetTest, HiddenEndpointsComeBackHidden)
{
    sim::HeadsetOptions options{.address = "0A1B2C3D4E5F"};
    service.ConnectHeadset(options);
    service.SetVisible("headset stereo", false);
    service.DisconnectHeadset(options.address);
    service.ConnectHeadset(options);
    EXPECT_EQ(service.State("headset stereo"), 2U);
    EXPECT_EQ(service.State("headset hands-free"), 1U);
}

TEST_F(HeadsetTest, WhatItWasToDoIsDroppedWhenItDisconnects)
{
    service.ConnectHeadset({.address = "0A1B2C3D4E5F", .delay = 50ms});
    service.DisconnectHeadset("0A1B2C3D4E5F");
    service.ConnectHeadset({.address = "000000000001", .label = "later", .delay = 100ms});
    ASSERT_TRUE(service.WaitForState("later stereo", 1, longWait));
    EXPECT_FALSE(service.HasEndpoint("headset stereo"));
}

TEST_F(HeadsetTest, ANameThatNeverCameComesWithTheComeback)
{
    service.ConnectHeadset({.address = "0A1B2C3D4E5F", .nameDelay = 1h});
    service.DisconnectHeadset("0A1B2C3D4E5F");
    EXPECT_EQ(NameOf("headset stereo"), L"(none)");
    const Registered registered(client_);
    service.ConnectHeadset({.address = "0A1B2C3D4E5F"});
    EXPECT_TRUE(sim::Timeline::Instance().WaitFor(
        "notify", "OnPropertyValueChanged headset microphone PKEY_Device_FriendlyName", longWait));
    EXPECT_EQ(NameOf("headset stereo"), L"Headphones (Headset Stereo)");
}

TEST_F(HeadsetTest, TheNameAndContainerThatItHasStayAtTheComeback)
{
    const sim::HeadsetOptions options{.address = "0A1B2C3D4E5F", .handsFreeRender = false, .handsFreeCapture = false};
    service.ConnectHeadset(options);
    service.SetFriendlyName("headset stereo", L"Mine");
    service.SetContainerId("headset stereo", sim::builtInContainer);
    service.DisconnectHeadset(options.address);
    service.ConnectHeadset(options);
    // What the comeback does later is done before this one's, on the same thread.
    service.ConnectHeadset({.address = "000000000001", .label = "other", .delay = 20ms});
    ASSERT_TRUE(service.WaitForState("other stereo", 1, longWait));
    EXPECT_EQ(NameOf("headset stereo"), L"Mine");
    EXPECT_EQ(ContainerOf("headset stereo"), sim::builtInContainer);
}

TEST_F(HeadsetTest, RemovedItsEndpointsAreGoneAndNewOnesCome)
{
    service.ConnectHeadset({.address = "0A1B2C3D4E5F"});
    const std::wstring id = service.Id("headset stereo");
    service.RemoveHeadset("0A1B2C3D4E5F");
    EXPECT_THAT(service.Labels(), ElementsAre("speaker"));
    EXPECT_THROW(service.DisconnectHeadset("0A1B2C3D4E5F"), std::invalid_argument);
    service.ConnectHeadset({.address = "0A1B2C3D4E5F"});
    EXPECT_NE(service.Id("headset stereo"), id);
}

TEST_F(HeadsetTest, AddressesAreChecked)
{
    EXPECT_THROW(service.ConnectHeadset({.address = "0A1B2C3D4E5"}), std::invalid_argument);
    EXPECT_THROW(service.ConnectHeadset({.address = "0A:1B:2C:3D:4"}), std::invalid_argument);
    EXPECT_THROW(service.ConnectHeadset({.address = "0A1B2C3D4E5G"}), std::invalid_argument);
    EXPECT_THROW(service.DisconnectHeadset("0A1B2C3D4E5F"), std::invalid_argument);
    EXPECT_THROW(service.RemoveHeadset("0A1B2C3D4E5F"), std::invalid_argument);
    EXPECT_THAT(service.Labels(), ElementsAre("speaker"));
}

TEST_F(HeadsetTest, ResetDropsWhatWasToCome)
{
    service.ConnectHeadset({.address = "0A1B2C3D4E5F", .delay = 50ms});
    service.Reset();
    service.ConnectHeadset({.address = "000000000001", .label = "later", .delay = 100ms});
    ASSERT_TRUE(service.WaitForState("later stereo", 1, longWait));
    EXPECT_FALSE(service.HasEndpoint("headset stereo"));
}

/// Both stand-ins in one process: the private registry of the device nodes does not disturb COM.
TEST(HeadsetWithDeviceNodeTest, TheContainerLeadsFromTheEndpointToTheNode)
{
    sim::BluetoothDevices devices;
    devices.AddHeadset("0A1B2C3D4E5F");
    sim::AudioService::Instance().Reset();
    sim::AudioService::Instance().ConnectHeadset({.address = "0A1B2C3D4E5F"});

    for (const DWORD model : {DWORD{COINIT_APARTMENTTHREADED}, DWORD{COINIT_MULTITHREADED}})
    {
        const Apartment apartment(model);
        Owned<IPropertyStore> store;
        ASSERT_EQ(GetDevice("headset stereo")->OpenPropertyStore(STGM_READ, store.Out()), S_OK);
        OwnedValue container;
        ASSERT_EQ(store->GetValue(containerKey, container.Out()), S_OK);
        ASSERT_EQ(container.Get().vt, VT_CLSID);
        EXPECT_TRUE(IsEqualGUID(*container.Get().puuid, sim::HeadsetContainer("0A1B2C3D4E5F")));
    }
    EXPECT_THAT(sim::AudioService::Instance().LiveObjects(), IsEmpty());
    sim::AudioService::Instance().Reset();
}

} // namespace
