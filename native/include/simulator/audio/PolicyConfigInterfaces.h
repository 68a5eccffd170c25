#pragma once

#include "audio/PolicyConfig.h"

#include <windows.h>

/// Found before the simulator's header of this name. There a client and the audio service know the policy interfaces by
/// declarations of their own, and COM does not mind; the check for an object's dynamic type does. Here the service's
/// interfaces are the module's, and a placeholder's slot leads to the operation that the service has for it.

struct IPolicyConfigDefault : public PolicyConfig::IDefaultEndpointPolicy
{
    virtual HRESULT STDMETHODCALLTYPE Slot13() = 0; // the first two that are new, so that they have these slots
    virtual HRESULT STDMETHODCALLTYPE Slot14() = 0;

    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<3>*) override { return Slot3(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<4>*) override { return Slot4(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<5>*) override { return Slot5(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<6>*) override { return Slot6(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<7>*) override { return Slot7(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<8>*) override { return Slot8(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<9>*) override { return Slot9(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<10>*) override { return Slot10(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<11>*) override { return Slot11(); }

    virtual HRESULT STDMETHODCALLTYPE Slot3() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot4() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot5() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot6() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot7() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot8() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot9() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot10() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot11() = 0;
};

struct IPolicyConfigVisibility : public PolicyConfig::IEndpointVisibilityPolicy
{
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<3>*) override { return Slot3(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<4>*) override { return Slot4(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<5>*) override { return Slot5(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<6>*) override { return Slot6(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<7>*) override { return Slot7(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<8>*) override { return Slot8(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<9>*) override { return Slot9(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<10>*) override { return Slot10(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<11>*) override { return Slot11(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<12>*) override { return Slot12(); }
    HRESULT STDMETHODCALLTYPE Unused(PolicyConfig::UnusedSlots<13>*) override { return Slot13(); }

    virtual HRESULT STDMETHODCALLTYPE Slot3() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot4() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot5() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot6() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot7() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot8() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot9() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot10() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot11() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot12() = 0;
    virtual HRESULT STDMETHODCALLTYPE Slot13() = 0;
};

__CRT_UUID_DECL(IPolicyConfigDefault, 0x568b9108, 0x44bf, 0x40b4, 0x90, 0x06, 0x86, 0xaf, 0xe5, 0xb5, 0xa6, 0x20)
__CRT_UUID_DECL(IPolicyConfigVisibility, 0xf8679f50, 0x850a, 0x41cf, 0x9c, 0x72, 0x43, 0x0f, 0x29, 0x02, 0x90, 0xc8)
