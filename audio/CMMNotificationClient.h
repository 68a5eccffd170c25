#pragma once

#include "plugin/ThreadSafety.h"

#include <windows.h>

#include <mmdeviceapi.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>

/// The module's receiver of endpoint notifications: keeps the module-wide endpoint list and default set up to date and
/// hands each change on to one callback.
///
/// One object, made on first use and never destroyed. A host thread registers it and sets its callback, both at the
/// start of the feature handler and with the default-set lock held; the platform's threads call it, several at once if
/// they like, until the process ends: it is never unregistered and the enumerator is never released, on purpose, since
/// the object outlives every registration.
class CMMNotificationClient final : public IMMNotificationClient
{
public:
    /// Takes the id of the endpoint and a detail, the name of its new state or an empty text.
    using DeviceChangeCallback = std::function<void(const std::wstring& endpointId, const std::string& detail)>;

    /// The object begins with one reference; that of the module's one is never released, so it never frees itself.
    CMMNotificationClient() = default;

    /// The module's one object.
    static CMMNotificationClient& Instance();

    /// Enters an apartment anew on the calling thread and registers the module's object, once in a process: a later
    /// call registers only when the earlier ones failed. The caller holds the default-set lock.
    static void Initialize();

    /// Replaces the callback of the module's object; an empty one is refused.
    static void SetDeviceChangeCallback(const DeviceChangeCallback& callback);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE OnDeviceStateChanged(LPCWSTR deviceId, DWORD newState) override;
    HRESULT STDMETHODCALLTYPE OnDeviceAdded(LPCWSTR deviceId) override;
    HRESULT STDMETHODCALLTYPE OnDeviceRemoved(LPCWSTR deviceId) override;

    /// Raises std::bad_function_call when there is no callback, and nothing else: the feature handler sets it before any
    /// notification can be carried out.
    HRESULT STDMETHODCALLTYPE OnDefaultDeviceChanged(EDataFlow flow, ERole role, LPCWSTR deviceId) override;
    HRESULT STDMETHODCALLTYPE OnPropertyValueChanged(LPCWSTR deviceId, const PROPERTYKEY key) override;

private:
    DeviceChangeCallback Callback() const;
    void HandleStateChange(LPCWSTR deviceId, DWORD newState);

    std::atomic<ULONG> references = 1;
    DeviceChangeCallback propertyChanged HEADSET_GUARDED_BY(callbackMutex);
    mutable std::mutex callbackMutex; // a leaf, held for copying only
};
