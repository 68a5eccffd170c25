// The dip of the speaker volume when audio moves to another device: lowered at once, restored a second later.
#include "feature/HeadsetAudioFeatureHandler.h"

#include "audio/AudioIdentifiers.h"
#include "audio/CoTaskText.h"
#include "audio/ComApartment.h"
#include "audio/ComPtr.h"
#include "audio/CreatedComObject.h"
#include "plugin/Log.h"

#include <mmdeviceapi.h>
#include <windows.h>

#include <cwchar>
#include <mutex>
#include <utility>

namespace
{

constexpr float loweringThreshold = 0.301F;
constexpr float quietLevel = 0.32000002F;
constexpr float stillQuietLowest = 0.319F;
constexpr float stillQuietHighest = 0.321F;
constexpr float lowestLevel = 0.0F;
constexpr float highestLevel = 1.0F;
constexpr std::uint64_t restoreDelayNs = 1'000'000'000;
constexpr DWORD keyPulseMs = 100;
constexpr GUID noContext = {};

using DeviceEnumerator = CreatedComObject<IMMDeviceEnumerator>;

bool IsCreated(const DeviceEnumerator& enumerator)
{
    return enumerator && SUCCEEDED(enumerator.Result());
}

bool IsWithin(float level, float lowest, float highest)
{
    return level >= lowest && level <= highest;
}

/// Whether the level is still the one that it was lowered to. Compared as a range, since a driver may round it.
bool IsStillQuiet(IAudioEndpointVolume& volume)
{
    float level = 0.0F;
    return SUCCEEDED(volume.GetMasterVolumeLevelScalar(&level)) && IsWithin(level, stillQuietLowest, stillQuietHighest);
}

/// One press of the key that turns the default endpoint's volume down, as a user would press it.
void PulseVolumeDownKey()
{
    keybd_event(VK_VOLUME_DOWN, 0, KEYEVENTF_EXTENDEDKEY, 0);
    Sleep(keyPulseMs);
    keybd_event(VK_VOLUME_DOWN, 0, KEYEVENTF_EXTENDEDKEY | KEYEVENTF_KEYUP, 0);
}

} // namespace

ComPtrInApartment<IAudioEndpointVolume>
HeadsetAudioFeatureHandler::GetSpeakerAudioEndpointVolume(const wchar_t* speakerEndpointId)
{
    try
    {
        DeviceEnumerator enumerator(AudioIdentifiers::deviceEnumeratorClass, CLSCTX_ALL,
                                    AudioIdentifiers::deviceEnumeratorInterface);
        ComPtr<IMMDevice> speaker;
        ComPtr<IAudioEndpointVolume> volume;
        if (!IsCreated(enumerator) || FAILED(enumerator->GetDevice(speakerEndpointId, speaker.Put())) || !speaker ||
            FAILED(speaker->Activate(AudioIdentifiers::endpointVolumeInterface, CLSCTX_ALL, nullptr, volume.PutVoid())))
        {
            return {};
        }
        return {enumerator.TakeApartment(), std::move(volume)}; // which the volume needs after the enumerator
    }
    catch (...)
    {
        Log::Error("HeadsetAudioFeatureHandler::GetSpeakerAudioEndpointVolume",
                   "GetSpeakerAudioEndpointVolume exception");
        return {};
    }
}

bool HeadsetAudioFeatureHandler::IsDefaultChannel(const wchar_t* speakerEndpointId)
{
    try
    {
        DeviceEnumerator enumerator(AudioIdentifiers::deviceEnumeratorClass, CLSCTX_ALL,
                                    AudioIdentifiers::deviceEnumeratorInterface);
        ComPtr<IMMDevice> defaultEndpoint;
        CoTaskText id;
        return IsCreated(enumerator) &&
               SUCCEEDED(enumerator->GetDefaultAudioEndpoint(eRender, eConsole, defaultEndpoint.Put())) &&
               defaultEndpoint && SUCCEEDED(defaultEndpoint->GetId(id.Put())) && id &&
               std::wcscmp(id.Get(), speakerEndpointId) == 0;
    }
    catch (...)
    {
        Log::Error("HeadsetAudioFeatureHandler::IsDefaultChannel", "IsDefaultChannel exception");
        return false;
    }
}

bool HeadsetAudioFeatureHandler::SetSpeakerVolume(const wchar_t* speakerEndpointId, const std::wstring& devName,
                                                  const std::wstring& toDevName, const std::string& deviceMacAddr)
{
    try
    {
        const auto volume = GetSpeakerAudioEndpointVolume(speakerEndpointId);
        float level = 0.0F;
        if (!volume || FAILED(volume->GetMasterVolumeLevelScalar(&level)))
        {
            return false;
        }
        defaultSpeakerVolume = level;
        if (level > loweringThreshold && FAILED(volume->SetMasterVolumeLevelScalar(quietLevel, &noContext)))
        {
            return false;
        }
        // Intended: also when nothing was lowered, so that the tip always follows.
        volumeTaskId = PostRestoreTask(speakerEndpointId, devName, toDevName, deviceMacAddr);
        return true;
    }
    catch (...)
    {
        Log::Error("HeadsetAudioFeatureHandler::SetSpeakerVolume", "defaultSpeakerVolume exception");
        return false;
    }
}

std::uint64_t HeadsetAudioFeatureHandler::PostRestoreTask(const std::wstring& speakerEndpointId,
                                                          const std::wstring& devName, const std::wstring& toDevName,
                                                          const std::string& deviceMacAddr)
{
    if (!volumeTaskLoop)
    {
        return 0;
    }
    return volumeTaskLoop->PostDelayedTask(
        restoreDelayNs, [this, loop = volumeTaskLoop.get(), speakerEndpointId, devName, toDevName, deviceMacAddr]
        { RunRestoreTask(loop, speakerEndpointId, devName, toDevName, deviceMacAddr); });
}

void HeadsetAudioFeatureHandler::RunRestoreTask(const TaskLoop* loop, const std::wstring& speakerEndpointId,
                                                const std::wstring& devName, const std::wstring& toDevName,
                                                const std::string& deviceMacAddr) noexcept
{
    std::unique_lock lock(volumeMutex, std::defer_lock); // stands first, so that the apartment is left under it
    ComApartment apartment;
    apartment.EnterSingleThreaded();
    lock.lock();
    if (volumeTaskLoop.get() != loop)
    {
        return; // a start has dropped this task while it waited; what is pending now is another's
    }
    RestoreVolume(speakerEndpointId.c_str(), devName, toDevName, deviceMacAddr);
    volumeTaskId = 0; // whatever came of it: switch messages must be dealt with again
}

bool HeadsetAudioFeatureHandler::RestoreVolume(const wchar_t* speakerEndpointId, const std::wstring& devName,
                                               const std::wstring& toDevName, const std::string& deviceMacAddr) noexcept
{
    if (defaultSpeakerVolume < loweringThreshold) // a level of exactly that goes on: intended
    {
        return TryToShowVoiceChangeTip(devName, toDevName, false, deviceMacAddr);
    }
    if (IsDefaultChannel(speakerEndpointId))
    {
        PulseVolumeDownKey(); // and the saved level is not written back: intended
        return TryToShowVoiceChangeTip(devName, toDevName, true, deviceMacAddr);
    }
    try
    {
        const auto volume = GetSpeakerAudioEndpointVolume(speakerEndpointId);
        if (!volume || !IsStillQuiet(*volume.Get()) || !IsWithin(defaultSpeakerVolume, lowestLevel, highestLevel))
        {
            return false; // intended: no tip for a user who has chosen another volume
        }
        volume->SetMasterVolumeLevelScalar(defaultSpeakerVolume, &noContext); // whatever its result is
        ShowVoiceChangeTip(devName, toDevName, false, deviceMacAddr);
        return true;
    }
    catch (...)
    {
        Log::Error("HeadsetAudioFeatureHandler::RestoreVolume", "RestoreVolume exception");
        return TryToShowVoiceChangeTip(devName, toDevName, false, deviceMacAddr); // anew, if it was the tip: intended
    }
}
