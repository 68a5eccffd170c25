#include "simulator/audio/EndpointVolume.h"

#include "simulator/audio/AudioIdentifiers.h"
#include "simulator/audio/ComCall.h"
#include "simulator/audio/LevelText.h"
#include "simulator/audio/ServiceCore.h"
#include "simulator/timeline/Timeline.h"

#include <optional>
#include <utility>

namespace sim
{

namespace
{

std::optional<GUID> CopyOf(LPCGUID context)
{
    return context != nullptr ? std::optional<GUID>(*context) : std::nullopt;
}

} // namespace

HRESULT EndpointVolume::SetMasterVolumeLevelScalar(FLOAT level, LPCGUID context)
{
    EntryFacts facts{.kind = "volume set", .values = {{"endpoint", endpoint_->label}, {"level", LevelText(level)}}};
    return TellChange(Text("SetMasterVolumeLevelScalar") + " " + LevelText(level), std::move(facts),
                      [&] {
                          return EnterCall("IAudioEndpointVolume::SetMasterVolumeLevelScalar",
                                           [&] { return ChangeLevel(level, context); });
                      });
}

HRESULT EndpointVolume::GetMasterVolumeLevelScalar(FLOAT* level)
{
    ClearOut(level);
    return TellRead(Text("GetMasterVolumeLevelScalar"),
                    EnterCall("IAudioEndpointVolume::GetMasterVolumeLevelScalar", [&] { return GiveLevel(level); }));
}

HRESULT EndpointVolume::SetMute(BOOL mute, LPCGUID context)
{
    return TellCall(Text("SetMute") + (mute ? " 1" : " 0"),
                    EnterCall("IAudioEndpointVolume::SetMute", [&] { return ChangeMute(mute != FALSE, context); }));
}

HRESULT EndpointVolume::GetMute(BOOL* mute)
{
    ClearOut(mute);
    return TellRead(Text("GetMute"), EnterCall("IAudioEndpointVolume::GetMute", [&] { return GiveMute(mute); }));
}

HRESULT EndpointVolume::RegisterControlChangeNotify(IAudioEndpointVolumeCallback*)
{
    return NotImplemented("RegisterControlChangeNotify");
}

HRESULT EndpointVolume::UnregisterControlChangeNotify(IAudioEndpointVolumeCallback*)
{
    return NotImplemented("UnregisterControlChangeNotify");
}

HRESULT EndpointVolume::GetChannelCount(UINT* count)
{
    ClearOut(count);
    return NotImplemented("GetChannelCount");
}

HRESULT EndpointVolume::SetMasterVolumeLevel(FLOAT, LPCGUID)
{
    return NotImplemented("SetMasterVolumeLevel");
}

HRESULT EndpointVolume::GetMasterVolumeLevel(FLOAT* level)
{
    ClearOut(level);
    return NotImplemented("GetMasterVolumeLevel");
}

HRESULT EndpointVolume::SetChannelVolumeLevel(UINT, FLOAT, LPCGUID)
{
    return NotImplemented("SetChannelVolumeLevel");
}

HRESULT EndpointVolume::SetChannelVolumeLevelScalar(UINT, FLOAT, LPCGUID)
{
    return NotImplemented("SetChannelVolumeLevelScalar");
}

HRESULT EndpointVolume::GetChannelVolumeLevel(UINT, FLOAT* level)
{
    ClearOut(level);
    return NotImplemented("GetChannelVolumeLevel");
}

HRESULT EndpointVolume::GetChannelVolumeLevelScalar(UINT, FLOAT* level)
{
    ClearOut(level);
    return NotImplemented("GetChannelVolumeLevelScalar");
}

HRESULT EndpointVolume::GetVolumeStepInfo(UINT* step, UINT* count)
{
    ClearOut(step);
    ClearOut(count);
    return NotImplemented("GetVolumeStepInfo");
}

HRESULT EndpointVolume::VolumeStepUp(LPCGUID)
{
    return NotImplemented("VolumeStepUp");
}

HRESULT EndpointVolume::VolumeStepDown(LPCGUID)
{
    return NotImplemented("VolumeStepDown");
}

HRESULT EndpointVolume::QueryHardwareSupport(DWORD* mask)
{
    ClearOut(mask);
    return NotImplemented("QueryHardwareSupport");
}

HRESULT EndpointVolume::GetVolumeRange(FLOAT* lowest, FLOAT* highest, FLOAT* step)
{
    ClearOut(lowest);
    ClearOut(highest);
    ClearOut(step);
    return NotImplemented("GetVolumeRange");
}

HRESULT EndpointVolume::ChangeLevel(FLOAT level, LPCGUID context)
{
    if (!(level >= 0.0F && level <= 1.0F)) // also refuses what is not a number
    {
        return E_INVALIDARG;
    }
    return ServiceCore::Instance().Change(
        [&](EndpointModel&)
        {
            if (!IsActive())
            {
                return deviceInvalidated;
            }
            endpoint_->SetVolume(level);
            endpoint_->volumeContext = CopyOf(context);
            return S_OK;
        });
}

HRESULT EndpointVolume::GiveLevel(FLOAT* level) const
{
    if (level == nullptr)
    {
        return E_POINTER;
    }
    return ServiceCore::Instance().Read(
        [&](const EndpointModel&)
        {
            *level = IsActive() ? endpoint_->volume : 0.0F;
            return IsActive() ? S_OK : deviceInvalidated;
        });
}

/// Answers S_FALSE when the endpoint was in that state already.
HRESULT EndpointVolume::ChangeMute(bool mute, LPCGUID context)
{
    return ServiceCore::Instance().Change(
        [&](EndpointModel&)
        {
            if (!IsActive())
            {
                return deviceInvalidated;
            }
            const bool same = endpoint_->muted == mute;
            endpoint_->muted = mute;
            endpoint_->volumeContext = CopyOf(context);
            return same ? S_FALSE : S_OK;
        });
}

HRESULT EndpointVolume::GiveMute(BOOL* mute) const
{
    if (mute == nullptr)
    {
        return E_POINTER;
    }
    return ServiceCore::Instance().Read(
        [&](const EndpointModel&)
        {
            *mute = IsActive() && endpoint_->muted ? TRUE : FALSE;
            return IsActive() ? S_OK : deviceInvalidated;
        });
}

HRESULT EndpointVolume::NotImplemented(std::string_view call) const
{
    return TellCall(Text(call), EnterCall("IAudioEndpointVolume::" + std::string(call), [] { return E_NOTIMPL; }));
}

/// With the service's lock held.
bool EndpointVolume::IsActive() const
{
    return !endpoint_->removed && endpoint_->State() == DEVICE_STATE_ACTIVE;
}

std::string EndpointVolume::Text(std::string_view call) const
{
    return std::string(call) + " " + endpoint_->label;
}

} // namespace sim
