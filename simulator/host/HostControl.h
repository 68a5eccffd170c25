#pragma once

#include "device/IProvider.h"
#include "device/VynTypes.h"
#include "simulator/host/HostControlApi.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace sim
{

/// A connection state that a provider reported.
struct ConnStateReport
{
    VynCore::VynDevice device;
    VynCore::DeviceState state;
};

/// A feature state that a provider reported.
struct FeatureStateReport
{
    VynCore::VynDevice device;
    VynCore::DevFeatureStateInfo info;
};

/// What a test or a scenario sees and sets of the simulated host: the providers that the provider proxy knows, the
/// reports that it got, and the bus on which IPC clients look for their service.
///
/// One object for the process. Every operation may be called from any thread. Hooks run on the reporting thread, one
/// call for each report, with no lock of the host held; what the provider proxy's contract forbids is forbidden there.
class SIM_HOST_API HostControl
{
public:
    using ConnStateHook = std::function<void(const VynCore::VynDevice& device, VynCore::DeviceState state)>;
    using FeatureStateHook =
        std::function<void(const VynCore::VynDevice& device, const VynCore::DevFeatureStateInfo& info)>;

    static HostControl& Instance();

    /// Registered providers, in the order of their registration. They stay the module's.
    std::vector<VynCore::IProvider*> Providers() const;

    /// The registered provider of that keyword, such as "2|2591"; null when there is none.
    VynCore::IProvider* FindProvider(std::string_view keyword) const;

    /// Called after a report has been recorded. An empty hook calls nothing.
    void SetConnStateHook(ConnStateHook hook);
    void SetFeatureStateHook(FeatureStateHook hook);

    /// Reports so far, in order.
    std::vector<ConnStateReport> ConnStateReports() const;
    std::vector<FeatureStateReport> FeatureStateReports() const;

    /// Bus of the IPC clients that are made from now on. At first it is the value of the environment variable
    /// SIM_IPC_BUS, or a name of this process alone when that is not set.
    void SetIpcBus(std::string_view name);
    std::string IpcBus() const;

    /// Forgets providers, reports and hooks, and goes back to the first bus.
    void Reset();

    HostControl(const HostControl&) = delete;
    HostControl& operator=(const HostControl&) = delete;

private:
    HostControl() = default;
    ~HostControl() = default;
};

} // namespace sim
