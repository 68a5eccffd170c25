// Stand-in for the platform's header of the same name: the volume of an audio endpoint.
#pragma once

#include <unknwn.h>

struct IAudioEndpointVolumeCallback; // nobody registers one

struct IAudioEndpointVolume : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE RegisterControlChangeNotify(IAudioEndpointVolumeCallback* client) = 0;
    virtual HRESULT STDMETHODCALLTYPE UnregisterControlChangeNotify(IAudioEndpointVolumeCallback* client) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetChannelCount(UINT* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetMasterVolumeLevel(FLOAT level, LPCGUID context) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetMasterVolumeLevelScalar(FLOAT level, LPCGUID context) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMasterVolumeLevel(FLOAT* level) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMasterVolumeLevelScalar(FLOAT* level) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetChannelVolumeLevel(UINT channel, FLOAT level, LPCGUID context) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetChannelVolumeLevelScalar(UINT channel, FLOAT level, LPCGUID context) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetChannelVolumeLevel(UINT channel, FLOAT* level) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetChannelVolumeLevelScalar(UINT channel, FLOAT* level) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetMute(WINBOOL mute, LPCGUID context) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMute(WINBOOL* mute) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVolumeStepInfo(UINT* step, UINT* count) = 0;
    virtual HRESULT STDMETHODCALLTYPE VolumeStepUp(LPCGUID context) = 0;
    virtual HRESULT STDMETHODCALLTYPE VolumeStepDown(LPCGUID context) = 0;
    virtual HRESULT STDMETHODCALLTYPE QueryHardwareSupport(DWORD* mask) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetVolumeRange(FLOAT* lowest, FLOAT* highest, FLOAT* step) = 0;
};
__CRT_UUID_DECL(IAudioEndpointVolume, 0x5CDF2C82, 0x841E, 0x4546, 0x97, 0x22, 0x0C, 0xF7, 0x40, 0x78, 0x22, 0x9A)
