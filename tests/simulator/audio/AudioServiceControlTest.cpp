#include "tests/simulator/audio/AudioClient.h"

#include <stdexcept>
#include <thread>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

using AudioServiceControlTest = AudioServiceTest;

TEST_F(AudioServiceControlTest, LabelsAndIdsAreUnique)
{
    service.AddEndpoint({.label = "speaker", .id = L"{0.0.0.00000000}.{own}"});
    EXPECT_EQ(service.Id("speaker"), L"{0.0.0.00000000}.{own}");
    EXPECT_THROW(Add("speaker"), std::invalid_argument);
    EXPECT_THROW(Add(""), std::invalid_argument);
    EXPECT_THROW(service.AddEndpoint({.label = "other", .id = L"{0.0.0.00000000}.{own}"}), std::invalid_argument);
    EXPECT_THAT(service.Labels(), ElementsAre("speaker"));
}

TEST_F(AudioServiceControlTest, AnUnknownLabelIsRefused)
{
    EXPECT_FALSE(service.HasEndpoint("nobody"));
    EXPECT_THROW(service.RemoveEndpoint("nobody"), std::invalid_argument);
    EXPECT_THROW(service.SetPresent("nobody", true), std::invalid_argument);
    EXPECT_THROW(service.SetPlugged("nobody", true), std::invalid_argument);
    EXPECT_THROW(service.SetVisible("nobody", true), std::invalid_argument);
    EXPECT_THROW(service.SetState("nobody", 1), std::invalid_argument);
    EXPECT_THROW(service.SetFriendlyName("nobody", L""), std::invalid_argument);
    EXPECT_THROW(service.SetContainerId("nobody", {}), std::invalid_argument);
    EXPECT_THROW(service.Id("nobody"), std::invalid_argument);
    EXPECT_THROW(service.State("nobody"), std::invalid_argument);
    EXPECT_THROW(service.Volume("nobody"), std::invalid_argument);
    EXPECT_THROW(service.SetVolume("nobody", 0), std::invalid_argument);
    EXPECT_THROW(service.Muted("nobody"), std::invalid_argument);
    EXPECT_THROW(service.SetMuted("nobody", false), std::invalid_argument);
    EXPECT_THROW(service.LastVolumeContext("nobody"), std::invalid_argument);
    EXPECT_THROW(service.NotifyDeviceStateChanged("nobody", 1), std::invalid_argument);
    EXPECT_THROW(service.NotifyDefaultDeviceChanged(eRender, eConsole, "nobody"), std::invalid_argument);
}

TEST_F(AudioServiceControlTest, TheStateFollowsFromTheFlags)
{
    service.AddEndpoint({.label = "away and hidden", .present = false, .visible = false});
    service.AddEndpoint({.label = "hidden and unplugged", .plugged = false, .visible = false});
    service.AddEndpoint({.label = "unplugged", .plugged = false});
    Add("active");
    EXPECT_EQ(service.State("away and hidden"), 4U);
    EXPECT_EQ(service.State("hidden and unplugged"), 2U);
    EXPECT_EQ(service.State("unplugged"), 8U);
    EXPECT_EQ(service.State("active"), 1U);
    for (const DWORD state : {2U, 4U, 8U, 1U})
    {
        service.SetState("away and hidden", state);
        EXPECT_EQ(service.State("away and hidden"), state);
    }
}

TEST_F(AudioServiceControlTest, ItCanBeWaitedForAState)
{
    EXPECT_FALSE(service.WaitForState("speaker", 1, 10ms));
    std::thread adding([this] { Add("speaker"); });
    EXPECT_TRUE(service.WaitForState("speaker", 1, longWait));
    adding.join();
    EXPECT_FALSE(service.WaitForState("speaker", 2, 10ms));
}

TEST_F(AudioServiceControlTest, TheDumpShowsEverything)
{
    service.AddEndpoint({.label = "speaker", .volume = 0.5F});
    service.AddEndpoint({.label = "headset", .visible = false, .muted = true});
    Add("microphone", eCapture);
    service.AddEndpoint({.label = "away", .present = false});
    service.AddEndpoint({.label = "jack", .plugged = false});
    Add("second");
    service.SetDefault("second", eCommunications);
    EXPECT_EQ(service.Dump(), "speaker: render ACTIVE volume 0.50 console multimedia\n"
                              "headset: render DISABLED volume 1.00 muted\n"
                              "microphone: capture ACTIVE volume 1.00 console multimedia communications\n"
                              "away: render NOTPRESENT volume 1.00\n"
                              "jack: render UNPLUGGED volume 1.00\n"
                              "second: render ACTIVE volume 1.00 communications\n");
}

TEST_F(AudioServiceControlTest, ResetLeavesNothing)
{
    Add("speaker");
    RecordingClient client;
    EXPECT_EQ(CreateEnumerator()->RegisterEndpointNotificationCallback(&client), S_OK);
    service.SetCreation("MMDeviceEnumerator", sim::Creation::SuccessWithoutObject);
    service.SetVerbose(true);
    service.SetRegisterTakesReference(true);
    service.Reset();
    EXPECT_THAT(service.Labels(), IsEmpty());
    EXPECT_EQ(service.RegisteredClients(), 0U);
    EXPECT_EQ(service.Default(eRender, eConsole), "");
    Add("speaker");
    EXPECT_EQ(client.Count(), 0U);
    sim::Timeline::Instance().Clear();
    {
        const Registered registered(client);
        EXPECT_EQ(client.References(), 1U);
    }
    EXPECT_THAT(Told(), ElementsAre("CoCreateInstance MMDeviceEnumerator -> 0x00000000",
                                    "RegisterEndpointNotificationCallback -> 0x00000000",
                                    "UnregisterEndpointNotificationCallback -> 0x00000000"));
}

TEST_F(AudioServiceControlTest, ResetGivesBackTheReferencesOnClients)
{
    service.SetRegisterTakesReference(true);
    RecordingClient client;
    EXPECT_EQ(CreateEnumerator()->RegisterEndpointNotificationCallback(&client), S_OK);
    EXPECT_EQ(client.References(), 2U);
    service.Reset();
    EXPECT_EQ(client.References(), 1U);
}

TEST_F(AudioServiceControlTest, WhatAClientKeepsIsCounted)
{
    Add("speaker");
    auto device = GetDevice("speaker");
    OwnedText id;
    EXPECT_EQ(device->GetId(id.Out()), S_OK);
    service.Reset();
    EXPECT_EQ(service.LiveObjects().at("MMDevice"), 1U);
    EXPECT_EQ(service.LiveMemory(), 1U);
    device.Reset();
    EXPECT_THAT(service.LiveObjects(), IsEmpty());
    CoTaskMemFree(std::exchange(*id.Out(), nullptr));
    EXPECT_EQ(service.LiveMemory(), 0U);
}

TEST_F(AudioServiceControlTest, MemoryThatMovesIsNotTheServicesAnyMore)
{
    Add("speaker");
    LPWSTR id = nullptr;
    EXPECT_EQ(GetDevice("speaker")->GetId(&id), S_OK);
    EXPECT_EQ(service.LiveMemory(), 1U);
    void* const moved = CoTaskMemRealloc(id, 4096);
    ASSERT_NE(moved, nullptr);
    EXPECT_STREQ(static_cast<wchar_t*>(moved), service.Id("speaker").c_str());
    EXPECT_EQ(service.LiveMemory(), 0U);
    CoTaskMemFree(moved);
}

} // namespace
