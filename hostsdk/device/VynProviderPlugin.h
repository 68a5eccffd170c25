#pragma once

#include <cstdint>

/// What the host knows of a plug-in module. The slot order is binding; there is no destructor slot: the host hands the
/// object back to the module that made it.
///
/// The host calls, from one thread at a time: the module's create function, `Init`, `UnInit`, the module's destroy
/// function. `Init` may block for several seconds. So may `UnInit`, and an `Init` that is repeated: they wait for a task
/// of the module's that is running, which may be switching endpoints, pausing, or inside a call of the host, such as
/// `OnFeatureStateChanged` or a call of the tips library. The host must not hold what such a call of its own waits for. A
/// repeated `Init` waits for running handlers of the service's messages, too. `Init` waits for threads that it starts, so
/// it must not be called while a library is being loaded.
class VynProviderPlugin
{
public:
    virtual bool Init() = 0;
    virtual bool UnInit() = 0;
    virtual bool IsSupported() { return true; }
    virtual bool IsEnabled() { return true; }

protected:
    explicit VynProviderPlugin(std::int32_t providerApiVersion) : apiVersion(providerApiVersion) {}
    ~VynProviderPlugin() = default;

    std::int32_t apiVersion; // 1 for a plug-in of this SDK
};
