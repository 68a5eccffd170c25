#include "device/VynProviderProxy.h"

#include "simulator/host/HostControl.h"
#include "simulator/host/device/HostState.h"
#include "simulator/timeline/Cause.h"
#include "simulator/timeline/Timeline.h"

#include "device/VynTypes.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>

namespace VynCore
{

namespace
{

void Record(const std::string& call, sim::EntryFacts facts)
{
    facts.gives = sim::NewCause();
    sim::Timeline::Instance().Add("host", call, std::move(facts));
}

/// The provider is called with no lock held.
std::string KeywordOf(IProvider* provider)
{
    return provider != nullptr ? provider->GetKeyword() : "null";
}

auto FindLocked(sim::HostState& state, const IProvider* provider)
{
    return std::ranges::find(state.providers, provider, &sim::RegisteredProvider::provider);
}

sim::HostControl::ConnStateHook StoreReport(const VynDevice& device, DeviceState deviceState)
{
    sim::HostState& state = sim::HostState::Instance();
    const std::scoped_lock lock(state.mutex);
    state.connStateReports.push_back({device, deviceState});
    return state.connStateHook;
}

sim::HostControl::FeatureStateHook StoreReport(const VynDevice& device, const DevFeatureStateInfo& info)
{
    sim::HostState& state = sim::HostState::Instance();
    const std::scoped_lock lock(state.mutex);
    state.featureStateReports.push_back({device, info});
    return state.featureStateHook;
}

} // namespace

VynProviderProxy::VynProviderProxy() = default;

VynProviderProxy::~VynProviderProxy() = default;

VynProviderProxy& VynProviderProxy::GetInstance()
{
    // Never destroyed: threads of the module may still report something while the process ends.
    static VynProviderProxy* const instance = new VynProviderProxy();
    return *instance;
}

VynError VynProviderProxy::RegistProvider(IProvider* provider)
{
    const std::string keyword = KeywordOf(provider);
    Record("RegistProvider " + keyword, {.kind = "provider comes", .values = {{"provider", keyword}}});
    if (provider == nullptr)
    {
        return VynError::InvalidArgument;
    }
    sim::HostState& state = sim::HostState::Instance();
    const std::scoped_lock lock(state.mutex);
    if (FindLocked(state, provider) != state.providers.end())
    {
        return VynError::AlreadyRegistered;
    }
    state.providers.push_back({provider, keyword});
    return VynError::Success;
}

VynError VynProviderProxy::UnRegistProvider(IProvider* provider)
{
    const std::string keyword = KeywordOf(provider);
    Record("UnRegistProvider " + keyword, {.kind = "provider goes", .values = {{"provider", keyword}}});
    if (provider == nullptr)
    {
        return VynError::InvalidArgument;
    }
    sim::HostState& state = sim::HostState::Instance();
    const std::scoped_lock lock(state.mutex);
    const auto found = FindLocked(state, provider);
    if (found == state.providers.end())
    {
        return VynError::NotRegistered;
    }
    state.providers.erase(found);
    return VynError::Success;
}

void VynProviderProxy::OnDevConnStateChanged(const VynDevice& device, DeviceState state)
{
    const auto number = std::to_string(static_cast<std::int32_t>(state));
    const auto hook = StoreReport(device, state);
    Record("OnDevConnStateChanged " + device.baseInfo.deviceMacAddr + " " + number,
           {.kind = "connection state", .values = {{"headset", device.baseInfo.deviceMacAddr}, {"state", number}}});
    if (hook)
    {
        hook(device, state);
    }
}

void VynProviderProxy::OnFeatureStateChanged(const VynDevice& device, const DevFeatureStateInfo& info)
{
    const auto numbers = std::to_string(info.featureId) + " " + std::to_string(info.state);
    const auto hook = StoreReport(device, info);
    Record("OnFeatureStateChanged " + device.deviceId + " " + numbers,
           {.kind = "feature state",
            .values = {{"headset", device.deviceId},
                       {"feature", std::to_string(info.featureId)},
                       {"state", std::to_string(info.state)}}});
    if (hook)
    {
        hook(device, info);
    }
}

} // namespace VynCore
