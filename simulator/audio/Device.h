#pragma once

#include "simulator/audio/ComObject.h"
#include "simulator/audio/EndpointModel.h"

#include <windows.h>

#include <mmdeviceapi.h>
#include <propsys.h>

#include <string>
#include <string_view>

namespace sim
{

/// An endpoint as a client has it. When the endpoint is removed its calls answer ERROR_NOT_FOUND's HRESULT, Activate
/// AUDCLNT_E_DEVICE_INVALIDATED. Never changes after it was made.
class Device final : public ComObject<Device, IMMDevice, IMMEndpoint>
{
public:
    static constexpr const char* className = "MMDevice";
    static constexpr const char* interfaceName = "IMMDevice";

    explicit Device(const EndpointPointer& endpoint) : endpoint_(endpoint) {}

    HRESULT STDMETHODCALLTYPE Activate(REFIID riid, DWORD context, PROPVARIANT* parameters, void** object) override;
    HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD access, IPropertyStore** store) override;
    HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) override;
    HRESULT STDMETHODCALLTYPE GetState(DWORD* state) override;

    HRESULT STDMETHODCALLTYPE GetDataFlow(EDataFlow* flow) override;

private:
    HRESULT GiveVolume(REFIID riid, const PROPVARIANT* parameters, void** object);
    HRESULT GiveStore(DWORD access, IPropertyStore** store);
    HRESULT GiveId(LPWSTR* id) const;
    HRESULT GiveState(DWORD* state) const;
    HRESULT GiveFlow(EDataFlow* flow) const;

    bool IsRemoved() const;
    bool IsActive() const;
    std::string Text(std::string_view call) const;

    const EndpointPointer endpoint_;
};

} // namespace sim
