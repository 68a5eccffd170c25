#pragma once

#include "device/DeviceApi.h"
#include "device/IProvider.h"
#include "device/VynTypes.h"

namespace VynCore
{

/// The host's register of providers and the receiver of their reports. One object for the process, owned by the
/// library. Every operation may be called from any thread.
///
/// What may come back from where:
/// - `OnDevConnStateChanged` runs on the reporting thread while the connecter holds its table's mutex. The host must
///   not call `NotifyConnStateChanged`, `ConnectDev` or another operation that reports a connection state from it, on
///   this or (waiting for it) on another thread.
/// - `OnFeatureStateChanged` may run while the feature handler holds its locks, those of the endpoints among them. The
///   host must not call any provider operation from it, nor the plug-in's `Init` or `UnInit`, neither on the same thread
///   nor on another one that it waits for: `UnInit` waits for a task of the module's that may be inside this very call.
/// - `RegistProvider` and `UnRegistProvider` run with no lock held; the host may call the provider from them.
class VYN_DEVICE_API VynProviderProxy
{
public:
    static VynProviderProxy& GetInstance();

    /// Makes the provider known to the host, which keeps the pointer until it is unregistered.
    VynError RegistProvider(IProvider* provider);

    /// Withdraws the provider. No new call into it begins afterwards.
    VynError UnRegistProvider(IProvider* provider);

    void OnDevConnStateChanged(const VynDevice& device, DeviceState state);
    void OnFeatureStateChanged(const VynDevice& device, const DevFeatureStateInfo& info);

    VynProviderProxy(const VynProviderProxy&) = delete;
    VynProviderProxy& operator=(const VynProviderProxy&) = delete;

private:
    VynProviderProxy();
    ~VynProviderProxy();
};

} // namespace VynCore
