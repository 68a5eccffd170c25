#pragma once

#include "simulator/audio/ComObject.h"

#include <windows.h>

#include <mmdeviceapi.h>

namespace sim
{

/// What clients begin with. It has no state of its own: registrations stay when it is released, as Windows keeps them.
class DeviceEnumerator final : public ComObject<DeviceEnumerator, IMMDeviceEnumerator>
{
public:
    static constexpr const char* className = "MMDeviceEnumerator";
    static constexpr const char* interfaceName = "IMMDeviceEnumerator";

    HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow flow, DWORD mask, IMMDeviceCollection** devices) override;
    HRESULT STDMETHODCALLTYPE GetDefaultAudioEndpoint(EDataFlow flow, ERole role, IMMDevice** device) override;
    HRESULT STDMETHODCALLTYPE GetDevice(LPCWSTR id, IMMDevice** device) override;
    HRESULT STDMETHODCALLTYPE RegisterEndpointNotificationCallback(IMMNotificationClient* client) override;
    HRESULT STDMETHODCALLTYPE UnregisterEndpointNotificationCallback(IMMNotificationClient* client) override;

private:
    static HRESULT GiveEndpoints(EDataFlow flow, DWORD mask, IMMDeviceCollection** devices);
    static HRESULT GiveDefault(EDataFlow flow, ERole role, IMMDevice** device);
    static HRESULT GiveDevice(LPCWSTR id, IMMDevice** device);
};

} // namespace sim
