#include "simulator/keys/VolumeKeys.h"
#include "simulator/audio/AudioService.h"
#include "simulator/timeline/Timeline.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace sim
{

namespace
{

using testing::ElementsAre;

/// The keys of this program itself.
class VolumeKeysTest : public testing::Test
{
protected:
    VolumeKeysTest()
    {
        service.Reset();
        service.AddEndpoint({.label = "headphones", .volume = 0.5F});
        service.AddEndpoint({.label = "speaker", .volume = 0.5F});
        service.SetDefault("speaker", eConsole);
        Timeline::Instance().Clear();
    }

    static std::vector<std::string> Told(const char* who) { return Timeline::Instance().Texts(who); }

    AudioService& service = AudioService::Instance();
    std::optional<VolumeKeys> keys{std::in_place, nullptr};
};

TEST_F(VolumeKeysTest, TellEachPressWithItsArguments)
{
    keybd_event(VK_VOLUME_DOWN, 0, KEYEVENTF_EXTENDEDKEY, 0);
    keybd_event(VK_VOLUME_DOWN, 0, KEYEVENTF_EXTENDEDKEY | KEYEVENTF_KEYUP, 0);
    keybd_event(VK_VOLUME_UP, 5, 0, 7);
    EXPECT_THAT(Told("keys"), ElementsAre("keybd_event 174 0 1 0", "keybd_event 174 0 3 0", "keybd_event 175 5 0 7"));
}

TEST_F(VolumeKeysTest, LowerTheConsolesOutputWhenVolumeDownGoesDown)
{
    keybd_event(VK_VOLUME_DOWN, 0, KEYEVENTF_EXTENDEDKEY, 0);
    EXPECT_EQ(service.Volume("speaker"), 0.48F);
    keybd_event(VK_VOLUME_DOWN, 0, KEYEVENTF_EXTENDEDKEY | KEYEVENTF_KEYUP, 0);
    keybd_event(VK_VOLUME_UP, 0, KEYEVENTF_EXTENDEDKEY, 0);
    EXPECT_EQ(service.Volume("speaker"), 0.48F);
    EXPECT_EQ(service.Volume("headphones"), 0.5F);
    EXPECT_THAT(Told("audio"), ElementsAre("Volume speaker 0.5 -> 0.48"));
}

TEST_F(VolumeKeysTest, DoNotGoBelowSilence)
{
    service.SetVolume("speaker", 0.01F);
    keybd_event(VK_VOLUME_DOWN, 0, 0, 0);
    EXPECT_EQ(service.Volume("speaker"), 0.0F);
    keybd_event(VK_VOLUME_DOWN, 0, 0, 0);
    EXPECT_EQ(service.Volume("speaker"), 0.0F);
}

TEST_F(VolumeKeysTest, GoNowhereWithoutAnOutput)
{
    service.RemoveEndpoint("speaker");
    service.RemoveEndpoint("headphones");
    keybd_event(VK_VOLUME_DOWN, 0, 0, 0);
    EXPECT_THAT(Told("keys"), ElementsAre("keybd_event 174 0 0 0"));
}

TEST_F(VolumeKeysTest, AreTakenOnlyWhileItLives)
{
    keys.reset();
    keybd_event(VK_VOLUME_DOWN, 0, KEYEVENTF_KEYUP, 0);
    EXPECT_TRUE(Told("keys").empty());
}

TEST_F(VolumeKeysTest, NeedAModuleThatPressesKeys)
{
    const HMODULE audio = GetModuleHandleW(L"SimAudio.dll");
    ASSERT_NE(audio, nullptr);
    EXPECT_TRUE(VolumeKeys::IsUsedBy(nullptr));
    EXPECT_FALSE(VolumeKeys::IsUsedBy(audio));
    EXPECT_THROW(VolumeKeys{audio}, std::runtime_error);
}

} // namespace

} // namespace sim
