#include "simulator/program/HostSide.h"

#include "simulator/host/HostControl.h"
#include "simulator/program/ScenarioFailure.h"
#include "simulator/timeline/Timeline.h"

#include "device/IDevConnecter.h"
#include "device/IDevFeatureHandler.h"
#include "device/VynProviderPlugin.h"
#include "device/VynTypes.h"

#include <string>

namespace sim
{

namespace
{

constexpr const char* connecterKeyword = "2|2591";
constexpr const char* featureHandlerKeyword = "3|9";

void Tell(const std::string& what)
{
    Timeline::Instance().Add("scenario", what, {.kind = "result"});
}

const char* Text(bool value)
{
    return value ? "true" : "false";
}

template <typename Interface> Interface& FindProvider(const char* keyword)
{
    auto* const provider = dynamic_cast<Interface*>(HostControl::Instance().FindProvider(keyword));
    if (provider == nullptr)
    {
        throw ScenarioFailure(std::string("no provider ") + keyword + " is registered");
    }
    return *provider;
}

VynCore::IDevConnecter& Connecter()
{
    return FindProvider<VynCore::IDevConnecter>(connecterKeyword);
}

VynCore::IDevFeatureHandler& FeatureHandler()
{
    return FindProvider<VynCore::IDevFeatureHandler>(featureHandlerKeyword);
}

} // namespace

void HostSide::CreatePlugin()
{
    plugin_ = module_.Create();
    initialised_ = false;
    Tell(plugin_ == nullptr ? "Create_HeadsetAdapterPlugin returned null" : "Create_HeadsetAdapterPlugin returned");
    if (plugin_ == nullptr)
    {
        throw ScenarioFailure("the module makes no plug-in");
    }
}

void HostSide::InitPlugin()
{
    VynProviderPlugin& plugin = Plugin();
    initialised_ = true;
    Tell(std::string("Init returned ") + Text(plugin.Init()));
}

void HostSide::UnInitPlugin()
{
    VynProviderPlugin& plugin = Plugin();
    Tell(std::string("UnInit returned ") + Text(plugin.UnInit()));
    initialised_ = false;
}

void HostSide::DestroyPlugin()
{
    module_.Destroy(plugin_.exchange(nullptr));
    initialised_ = false;
    Tell("Destroy_HeadsetAdapterPlugin returned");
}

void HostSide::Leave()
{
    if (initialised_)
    {
        UnInitPlugin();
    }
    if (plugin_ != nullptr)
    {
        DestroyPlugin();
    }
}

void HostSide::Enable(const VynCore::VynDevice& device) const
{
    const std::int32_t result = FeatureHandler().EnableFeature(device);
    Tell("EnableFeature " + device.bluetoothAddr + " returned " + std::to_string(result));
}

void HostSide::Disable(const VynCore::VynDevice& device) const
{
    const std::int32_t result = FeatureHandler().DisableFeature(device);
    Tell("DisableFeature " + device.bluetoothAddr + " returned " + std::to_string(result));
}

void HostSide::Connect(const VynCore::VynDevice& device) const
{
    const std::int32_t result = Connecter().ConnectDev(device);
    Tell("ConnectDev " + device.baseInfo.deviceMacAddr + " returned " + std::to_string(result));
}

void HostSide::QueryDevices() const
{
    const std::int32_t result = Connecter().QueryConnectedDevAsync();
    Tell("QueryConnectedDevAsync returned " + std::to_string(result));
}

std::int32_t HostSide::ReadState(const VynCore::VynDevice& device) const
{
    const VynCore::DevFeatureStateInfo info = FeatureHandler().GetFeatureState(device.bluetoothAddr);
    Tell("GetFeatureState " + device.bluetoothAddr + " returned " + std::to_string(info.featureId) + " " +
         std::to_string(info.state));
    return info.state;
}

VynProviderPlugin& HostSide::Plugin()
{
    if (plugin_ == nullptr)
    {
        CreatePlugin();
    }
    return *plugin_;
}

} // namespace sim
