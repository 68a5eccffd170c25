#include "tests/simulator/audio/AudioClient.h"

#include <chrono>
#include <cmath>
#include <optional>
#include <thread>

namespace
{

using testing::ElementsAre;

class EndpointVolumeTest : public AudioServiceTest
{
protected:
    EndpointVolumeTest()
    {
        service.AddEndpoint({.label = "speaker", .volume = 0.5F});
        EXPECT_EQ(GetDevice("speaker")->Activate(volumeInterface, CLSCTX_ALL, nullptr, volume_.OutVoid()), S_OK);
        sim::Timeline::Instance().Clear();
    }

    Owned<IAudioEndpointVolume> volume_;
};

TEST_F(EndpointVolumeTest, ReadsAndChangesTheLevel)
{
    float level = 0;
    EXPECT_EQ(volume_->GetMasterVolumeLevelScalar(&level), S_OK);
    EXPECT_EQ(level, 0.5F);
    EXPECT_EQ(volume_->SetMasterVolumeLevelScalar(0.32F, nullptr), S_OK);
    EXPECT_EQ(service.Volume("speaker"), 0.32F);
    service.SetVolume("speaker", 0.75F);
    EXPECT_EQ(volume_->GetMasterVolumeLevelScalar(&level), S_OK);
    EXPECT_EQ(level, 0.75F);
    EXPECT_THAT(Told(),
                ElementsAre("Volume speaker 0.5 -> 0.32", "SetMasterVolumeLevelScalar speaker 0.32 -> 0x00000000",
                            "Volume speaker 0.32 -> 0.75"));
}

TEST_F(EndpointVolumeTest, TellsOnlyOfALevelThatIsAnother)
{
    EXPECT_EQ(volume_->SetMasterVolumeLevelScalar(0.5F, nullptr), S_OK);
    service.SetVolume("speaker", 0.5F);
    EXPECT_EQ(volume_->SetMasterVolumeLevelScalar(2.0F, nullptr), E_INVALIDARG);
    EXPECT_THAT(Told(), ElementsAre("SetMasterVolumeLevelScalar speaker 0.5 -> 0x00000000",
                                    "SetMasterVolumeLevelScalar speaker 2 -> 0x80070057"));
}

TEST_F(EndpointVolumeTest, StepsTheDefaultOutputsLevel)
{
    service.AddEndpoint({.label = "headphones", .volume = 0.5F});
    service.SetDefault("headphones", eMultimedia);
    EXPECT_TRUE(service.StepDefaultVolume(-0.02F));
    EXPECT_EQ(service.Volume("speaker"), 0.48F);
    service.SetDefault("headphones", eConsole);
    EXPECT_TRUE(service.StepDefaultVolume(0.25F));
    EXPECT_EQ(service.Volume("headphones"), 0.75F);
    EXPECT_TRUE(service.StepDefaultVolume(0.5F));
    EXPECT_EQ(service.Volume("headphones"), 1.0F);
    EXPECT_TRUE(service.StepDefaultVolume(-1.5F));
    EXPECT_EQ(service.Volume("headphones"), 0.0F);
    EXPECT_EQ(service.Volume("speaker"), 0.48F);
    service.SetState("headphones", DEVICE_STATE_NOTPRESENT);
    service.SetState("speaker", DEVICE_STATE_NOTPRESENT);
    EXPECT_FALSE(service.StepDefaultVolume(-0.02F));
}

TEST_F(EndpointVolumeTest, IsWaitedFor)
{
    EXPECT_TRUE(service.WaitForVolume("speaker", 0.5F, 0, std::chrono::milliseconds(0)));
    EXPECT_FALSE(service.WaitForVolume("speaker", 0.51F, 0.005F, std::chrono::milliseconds(10)));
    EXPECT_FALSE(service.WaitForVolume("nothing", 0.5F, 1, std::chrono::milliseconds(10)));
    std::thread change([this] { service.SetVolume("speaker", 0.7F); });
    EXPECT_TRUE(service.WaitForVolume("speaker", 0.7F, 0.001F, std::chrono::seconds(20)));
    change.join();
}

TEST_F(EndpointVolumeTest, TakesTheWholeRangeAndNothingElse)
{
    for (const float level : {0.0F, 1.0F})
    {
        EXPECT_EQ(volume_->SetMasterVolumeLevelScalar(level, nullptr), S_OK);
        EXPECT_EQ(service.Volume("speaker"), level);
    }
    for (const float level : {-0.01F, 1.01F, std::nanf("")})
    {
        EXPECT_EQ(volume_->SetMasterVolumeLevelScalar(level, nullptr), E_INVALIDARG);
        EXPECT_EQ(service.Volume("speaker"), 1.0F);
    }
}

TEST_F(EndpointVolumeTest, RemembersTheEventContext)
{
    constexpr GUID none = {};
    EXPECT_EQ(service.LastVolumeContext("speaker"), std::nullopt);
    EXPECT_EQ(volume_->SetMasterVolumeLevelScalar(0.1F, &none), S_OK);
    EXPECT_EQ(service.LastVolumeContext("speaker"), none);
    EXPECT_EQ(volume_->SetMasterVolumeLevelScalar(0.1F, nullptr), S_OK);
    EXPECT_EQ(service.LastVolumeContext("speaker"), std::nullopt);
    EXPECT_EQ(volume_->SetMute(TRUE, &volumeInterface), S_OK);
    EXPECT_EQ(service.LastVolumeContext("speaker"), volumeInterface);
}

TEST_F(EndpointVolumeTest, ReadsAndChangesTheMuteSwitch)
{
    BOOL muted = TRUE;
    EXPECT_EQ(volume_->GetMute(&muted), S_OK);
    EXPECT_FALSE(muted);
    EXPECT_EQ(volume_->SetMute(TRUE, nullptr), S_OK);
    EXPECT_TRUE(service.Muted("speaker"));
    EXPECT_EQ(volume_->SetMute(TRUE, nullptr), S_FALSE);
    EXPECT_EQ(volume_->GetMute(&muted), S_OK);
    EXPECT_TRUE(muted);
    service.SetMuted("speaker", false);
    EXPECT_EQ(volume_->GetMute(&muted), S_OK);
    EXPECT_FALSE(muted);
    EXPECT_THAT(Told(), ElementsAre("SetMute speaker 1 -> 0x00000000", "SetMute speaker 1 -> 0x00000001"));
}

TEST_F(EndpointVolumeTest, EachEndpointHasItsOwnLevel)
{
    service.AddEndpoint({.label = "headphones", .volume = 0.25F});
    EXPECT_EQ(volume_->SetMasterVolumeLevelScalar(0.9F, nullptr), S_OK);
    EXPECT_EQ(service.Volume("headphones"), 0.25F);
}

TEST_F(EndpointVolumeTest, ChecksItsArguments)
{
    EXPECT_EQ(volume_->GetMasterVolumeLevelScalar(nullptr), E_POINTER);
    EXPECT_EQ(volume_->GetMute(nullptr), E_POINTER);
    void* object = &service;
    EXPECT_EQ(volume_->QueryInterface(strangeInterface, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
}

TEST_F(EndpointVolumeTest, AnswersFailuresWhenTheEndpointIsNotActiveAnyMore)
{
    for (const bool removed : {false, true})
    {
        service.SetState("speaker", DEVICE_STATE_NOTPRESENT);
        if (removed)
        {
            service.RemoveEndpoint("speaker");
        }
        float level = 0.3F;
        BOOL muted = TRUE;
        EXPECT_EQ(volume_->GetMasterVolumeLevelScalar(&level), invalidatedResult);
        EXPECT_EQ(level, 0.0F);
        EXPECT_EQ(volume_->SetMasterVolumeLevelScalar(0.2F, nullptr), invalidatedResult);
        EXPECT_EQ(volume_->GetMute(&muted), invalidatedResult);
        EXPECT_EQ(volume_->SetMute(TRUE, nullptr), invalidatedResult);
    }
}

TEST_F(EndpointVolumeTest, TheOtherOperationsAreNotImplemented)
{
    float number = 1;
    UINT count = 1;
    DWORD mask = 1;
    EXPECT_EQ(volume_->RegisterControlChangeNotify(nullptr), E_NOTIMPL);
    EXPECT_EQ(volume_->UnregisterControlChangeNotify(nullptr), E_NOTIMPL);
    EXPECT_EQ(volume_->GetChannelCount(&count), E_NOTIMPL);
    EXPECT_EQ(volume_->SetMasterVolumeLevel(0, nullptr), E_NOTIMPL);
    EXPECT_EQ(volume_->GetMasterVolumeLevel(&number), E_NOTIMPL);
    EXPECT_EQ(volume_->SetChannelVolumeLevel(0, 0, nullptr), E_NOTIMPL);
    EXPECT_EQ(volume_->SetChannelVolumeLevelScalar(0, 0, nullptr), E_NOTIMPL);
    EXPECT_EQ(volume_->GetChannelVolumeLevel(0, &number), E_NOTIMPL);
    EXPECT_EQ(volume_->GetChannelVolumeLevelScalar(0, &number), E_NOTIMPL);
    EXPECT_EQ(volume_->GetVolumeStepInfo(&count, &count), E_NOTIMPL);
    EXPECT_EQ(volume_->VolumeStepUp(nullptr), E_NOTIMPL);
    EXPECT_EQ(volume_->VolumeStepDown(nullptr), E_NOTIMPL);
    EXPECT_EQ(volume_->QueryHardwareSupport(&mask), E_NOTIMPL);
    EXPECT_EQ(volume_->GetVolumeRange(&number, &number, &number), E_NOTIMPL);
    EXPECT_EQ(Told().size(), 14U);
    EXPECT_EQ(Told().at(10), "VolumeStepUp speaker -> 0x80004001");
}

} // namespace
