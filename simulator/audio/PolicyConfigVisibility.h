#pragma once

#include "simulator/audio/ComObject.h"
#include "simulator/audio/PolicyConfigInterfaces.h"

#include <windows.h>

namespace sim
{

/// Shows and hides endpoints. All other slots answer E_NOTIMPL. It has no state of its own.
class PolicyConfigVisibility final : public ComObject<PolicyConfigVisibility, IPolicyConfigVisibility>
{
public:
    static constexpr const char* className = "PolicyConfigVisibility";
    static constexpr const char* interfaceName = "IPolicyConfigVisibility";

    HRESULT STDMETHODCALLTYPE Slot3() override { return NotImplemented(3); }
    HRESULT STDMETHODCALLTYPE Slot4() override { return NotImplemented(4); }
    HRESULT STDMETHODCALLTYPE Slot5() override { return NotImplemented(5); }
    HRESULT STDMETHODCALLTYPE Slot6() override { return NotImplemented(6); }
    HRESULT STDMETHODCALLTYPE Slot7() override { return NotImplemented(7); }
    HRESULT STDMETHODCALLTYPE Slot8() override { return NotImplemented(8); }
    HRESULT STDMETHODCALLTYPE Slot9() override { return NotImplemented(9); }
    HRESULT STDMETHODCALLTYPE Slot10() override { return NotImplemented(10); }
    HRESULT STDMETHODCALLTYPE Slot11() override { return NotImplemented(11); }
    HRESULT STDMETHODCALLTYPE Slot12() override { return NotImplemented(12); }
    HRESULT STDMETHODCALLTYPE Slot13() override { return NotImplemented(13); }
    HRESULT STDMETHODCALLTYPE SetEndpointVisibility(PCWSTR id, INT visible) override;

private:
    static HRESULT NotImplemented(int slot);
    static HRESULT Show(PCWSTR id, INT visible);
};

} // namespace sim
