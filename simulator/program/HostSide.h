#pragma once

#include "simulator/program/PluginModule.h"

#include "device/VynProviderPlugin.h"
#include "device/VynTypes.h"

#include <atomic>
#include <cstdint>

namespace sim
{

/// What the host does: it holds the plug-in, and calls the providers that have been registered. Results are told to the
/// timeline. Operations throw ScenarioFailure when they cannot be carried out.
///
/// Made and destroyed by the main thread. Any thread may call the operations on providers; those on the plug-in one
/// thread at a time.
class HostSide
{
public:
    explicit HostSide(const PluginModule& module) : module_(module) {}

    void CreatePlugin();

    /// The plug-in is created when there is none.
    void InitPlugin();
    void UnInitPlugin();

    /// Without a plug-in, gives the module a null pointer.
    void DestroyPlugin();

    /// Ends what was begun: a plug-in that is there is uninitialised if it was initialised, and destroyed.
    void Leave();

    void Enable(const VynCore::VynDevice& device) const;
    void Disable(const VynCore::VynDevice& device) const;
    void Connect(const VynCore::VynDevice& device) const;
    void QueryDevices() const;
    std::int32_t ReadState(const VynCore::VynDevice& device) const;

private:
    VynProviderPlugin& Plugin();

    const PluginModule& module_;
    std::atomic<VynProviderPlugin*> plugin_ = nullptr; // the module's storage, given back by DestroyPlugin
    std::atomic<bool> initialised_ = false;
};

} // namespace sim
