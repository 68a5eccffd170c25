#pragma once

#include "simulator/audio/ComObject.h"
#include "simulator/audio/EndpointModel.h"

#include <windows.h>

#include <endpointvolume.h>
#include <mmdeviceapi.h>

#include <string>
#include <string_view>

namespace sim
{

/// The master volume (0 to 1) and the mute switch of an endpoint; when that is not active any more they answer
/// AUDCLNT_E_DEVICE_INVALIDATED. All other operations answer E_NOTIMPL.
class EndpointVolume final : public ComObject<EndpointVolume, IAudioEndpointVolume>
{
public:
    static constexpr const char* className = "AudioEndpointVolume";
    static constexpr const char* interfaceName = "IAudioEndpointVolume";

    explicit EndpointVolume(const EndpointPointer& endpoint) : endpoint_(endpoint) {}

    HRESULT STDMETHODCALLTYPE SetMasterVolumeLevelScalar(FLOAT level, LPCGUID context) override;
    HRESULT STDMETHODCALLTYPE GetMasterVolumeLevelScalar(FLOAT* level) override;
    HRESULT STDMETHODCALLTYPE SetMute(BOOL mute, LPCGUID context) override;
    HRESULT STDMETHODCALLTYPE GetMute(BOOL* mute) override;

    HRESULT STDMETHODCALLTYPE RegisterControlChangeNotify(IAudioEndpointVolumeCallback* client) override;
    HRESULT STDMETHODCALLTYPE UnregisterControlChangeNotify(IAudioEndpointVolumeCallback* client) override;
    HRESULT STDMETHODCALLTYPE GetChannelCount(UINT* count) override;
    HRESULT STDMETHODCALLTYPE SetMasterVolumeLevel(FLOAT level, LPCGUID context) override;
    HRESULT STDMETHODCALLTYPE GetMasterVolumeLevel(FLOAT* level) override;
    HRESULT STDMETHODCALLTYPE SetChannelVolumeLevel(UINT channel, FLOAT level, LPCGUID context) override;
    HRESULT STDMETHODCALLTYPE SetChannelVolumeLevelScalar(UINT channel, FLOAT level, LPCGUID context) override;
    HRESULT STDMETHODCALLTYPE GetChannelVolumeLevel(UINT channel, FLOAT* level) override;
    HRESULT STDMETHODCALLTYPE GetChannelVolumeLevelScalar(UINT channel, FLOAT* level) override;
    HRESULT STDMETHODCALLTYPE GetVolumeStepInfo(UINT* step, UINT* count) override;
    HRESULT STDMETHODCALLTYPE VolumeStepUp(LPCGUID context) override;
    HRESULT STDMETHODCALLTYPE VolumeStepDown(LPCGUID context) override;
    HRESULT STDMETHODCALLTYPE QueryHardwareSupport(DWORD* mask) override;
    HRESULT STDMETHODCALLTYPE GetVolumeRange(FLOAT* lowest, FLOAT* highest, FLOAT* step) override;

private:
    HRESULT ChangeLevel(FLOAT level, LPCGUID context);
    HRESULT GiveLevel(FLOAT* level) const;
    HRESULT ChangeMute(bool mute, LPCGUID context);
    HRESULT GiveMute(BOOL* mute) const;
    HRESULT NotImplemented(std::string_view call) const;

    bool IsActive() const;
    std::string Text(std::string_view call) const;

    const EndpointPointer endpoint_;
};

} // namespace sim
