// Stand-in for the platform's header of the same name: the interfaces of the audio endpoints.
#pragma once

#include <objbase.h>
#include <propsys.h>
#include <windows.h>

#define STGM_READ 0U
#define STGM_WRITE 1U
#define STGM_READWRITE 2U
#define DEVICE_STATE_ACTIVE 1U
#define DEVICE_STATE_DISABLED 2U
#define DEVICE_STATE_NOTPRESENT 4U
#define DEVICE_STATE_UNPLUGGED 8U
#define DEVICE_STATEMASK_ALL 15U

// Of a fixed type, as on the platform: an implementation may give a number that has no name.
enum EDataFlow : int
{
    eRender,
    eCapture,
    eAll,
    EDataFlow_enum_count,
};

enum ERole : int
{
    eConsole,
    eMultimedia,
    eCommunications,
    ERole_enum_count,
};

struct IMMNotificationClient : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE OnDeviceStateChanged(LPCWSTR id, DWORD state) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnDeviceAdded(LPCWSTR id) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnDeviceRemoved(LPCWSTR id) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnDefaultDeviceChanged(EDataFlow flow, ERole role, LPCWSTR id) = 0;
    virtual HRESULT STDMETHODCALLTYPE OnPropertyValueChanged(LPCWSTR id, const PROPERTYKEY key) = 0;
};
__CRT_UUID_DECL(IMMNotificationClient, 0x7991EEC9, 0x7E89, 0x4D85, 0x83, 0x90, 0x6C, 0x70, 0x3C, 0xEC, 0x60, 0xC0)

struct IMMDevice : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE Activate(REFIID riid, DWORD context, PROPVARIANT* parameters, void** object) = 0;
    virtual HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD access, IPropertyStore** properties) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetState(DWORD* state) = 0;
};
__CRT_UUID_DECL(IMMDevice, 0xD666063F, 0x1587, 0x4E43, 0x81, 0xF1, 0xB9, 0x48, 0xE8, 0x07, 0x36, 0x3F)

struct IMMDeviceCollection : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetCount(UINT* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE Item(UINT index, IMMDevice** device) = 0;
};
__CRT_UUID_DECL(IMMDeviceCollection, 0x0BD7A1BE, 0x7A1A, 0x44DB, 0x83, 0x97, 0xCC, 0x53, 0x92, 0x38, 0x7B, 0x5E)

struct IMMEndpoint : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetDataFlow(EDataFlow* flow) = 0;
};
__CRT_UUID_DECL(IMMEndpoint, 0x1BE09788, 0x6894, 0x4089, 0x85, 0x86, 0x9A, 0x2A, 0x6C, 0x26, 0x5A, 0xC5)

struct IMMDeviceEnumerator : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow flow, DWORD states, IMMDeviceCollection** found) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDefaultAudioEndpoint(EDataFlow flow, ERole role, IMMDevice** device) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDevice(LPCWSTR id, IMMDevice** device) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterEndpointNotificationCallback(IMMNotificationClient* client) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnregisterEndpointNotificationCallback(IMMNotificationClient* client) = 0;
};
__CRT_UUID_DECL(IMMDeviceEnumerator, 0xA95664D2, 0x9614, 0x4F35, 0xA7, 0x46, 0xDE, 0x8D, 0xB6, 0x36, 0x17, 0xE6)
