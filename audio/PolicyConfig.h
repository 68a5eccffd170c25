#pragma once

#include <windows.h>

#include <mmdeviceapi.h>
#include <unknwn.h>

/// The platform's undocumented policy configuration: two classes, of each of which the module uses one operation. What
/// is known of them is the slot of that operation; slots count from 0 with the three of IUnknown.
namespace PolicyConfig
{

/// The slots up to `Last` that the module does not use, one class for each slot, so that a slot's number is in its type.
template <int Last> struct UnusedSlots : UnusedSlots<Last - 1>
{
    using UnusedSlots<Last - 1>::Unused;
    virtual HRESULT STDMETHODCALLTYPE Unused(UnusedSlots<Last>*) = 0;
};

template <> struct UnusedSlots<3> : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE Unused(UnusedSlots<3>*) = 0;
};

inline constexpr int setDefaultEndpointSlot = 12;
inline constexpr int setEndpointVisibilitySlot = 14;

/// Sets default endpoints. Any apartment may use it.
struct IDefaultEndpointPolicy : UnusedSlots<setDefaultEndpointSlot - 1>
{
    /// Makes an active endpoint the default of its data flow in one role.
    virtual HRESULT STDMETHODCALLTYPE SetDefaultEndpoint(LPCWSTR endpointId, ERole role) = 0;
};

/// Shows and hides endpoints. Any apartment may use it.
struct IEndpointVisibilityPolicy : UnusedSlots<setEndpointVisibilitySlot - 1>
{
    /// Shows (1) or hides (0) an endpoint; a hidden one is disabled.
    virtual HRESULT STDMETHODCALLTYPE SetEndpointVisibility(LPCWSTR endpointId, INT visible) = 0;
};

inline constexpr GUID defaultEndpointClass = {
    0x294935CE, 0xF637, 0x4E7C, {0xA4, 0x1B, 0xAB, 0x25, 0x54, 0x60, 0xB8, 0x62}};
inline constexpr GUID defaultEndpointInterface = {
    0x568B9108, 0x44BF, 0x40B4, {0x90, 0x06, 0x86, 0xAF, 0xE5, 0xB5, 0xA6, 0x20}};
inline constexpr GUID visibilityClass = {0x870AF99C, 0x171D, 0x4F9E, {0xAF, 0x0D, 0xE6, 0x3D, 0xF4, 0x0C, 0x2B, 0xC9}};
inline constexpr GUID visibilityInterface = {
    0xF8679F50, 0x850A, 0x41CF, {0x9C, 0x72, 0x43, 0x0F, 0x29, 0x02, 0x90, 0xC8}};

} // namespace PolicyConfig
