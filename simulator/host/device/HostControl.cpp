#include "simulator/host/HostControl.h"

#include "simulator/host/device/HostState.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <utility>

namespace sim
{

HostControl& HostControl::Instance()
{
    // Never destroyed: threads of the module may still ask for it while the process ends.
    static HostControl* const instance = new HostControl();
    return *instance;
}

std::vector<VynCore::IProvider*> HostControl::Providers() const
{
    HostState& state = HostState::Instance();
    const std::scoped_lock lock(state.mutex);
    std::vector<VynCore::IProvider*> providers;
    std::ranges::transform(state.providers, std::back_inserter(providers), &RegisteredProvider::provider);
    return providers;
}

VynCore::IProvider* HostControl::FindProvider(std::string_view keyword) const
{
    HostState& state = HostState::Instance();
    const std::scoped_lock lock(state.mutex);
    const auto found = std::ranges::find(state.providers, keyword, &RegisteredProvider::keyword);
    return found != state.providers.end() ? found->provider : nullptr;
}

void HostControl::SetConnStateHook(ConnStateHook hook)
{
    HostState& state = HostState::Instance();
    const std::scoped_lock lock(state.mutex);
    state.connStateHook = std::move(hook);
}

void HostControl::SetFeatureStateHook(FeatureStateHook hook)
{
    HostState& state = HostState::Instance();
    const std::scoped_lock lock(state.mutex);
    state.featureStateHook = std::move(hook);
}

std::vector<ConnStateReport> HostControl::ConnStateReports() const
{
    HostState& state = HostState::Instance();
    const std::scoped_lock lock(state.mutex);
    return state.connStateReports;
}

std::vector<FeatureStateReport> HostControl::FeatureStateReports() const
{
    HostState& state = HostState::Instance();
    const std::scoped_lock lock(state.mutex);
    return state.featureStateReports;
}

void HostControl::SetIpcBus(std::string_view name)
{
    HostState& state = HostState::Instance();
    const std::scoped_lock lock(state.mutex);
    state.ipcBus = name;
}

std::string HostControl::IpcBus() const
{
    HostState& state = HostState::Instance();
    const std::scoped_lock lock(state.mutex);
    return state.ipcBus;
}

void HostControl::Reset()
{
    HostState& state = HostState::Instance();
    const std::scoped_lock lock(state.mutex);
    state.providers.clear();
    state.connStateReports.clear();
    state.featureStateReports.clear();
    state.connStateHook = nullptr;
    state.featureStateHook = nullptr;
    state.ipcBus = FirstIpcBus();
}

} // namespace sim
