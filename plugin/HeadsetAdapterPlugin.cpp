#include "plugin/HeadsetAdapterPlugin.h"

#include "connector/HeadsetConnector.h"
#include "device/VynProviderProxy.h"
#include "feature/HeadsetAudioFeatureHandler.h"
#include "plugin/Log.h"

#include <cstdint>

namespace
{

constexpr std::int32_t pluginApiVersion = 1;

/// Null when the provider cannot be made: `Init` tells it.
template <typename Provider> std::shared_ptr<Provider> MakeProvider() noexcept
{
    try
    {
        return std::make_shared<Provider>();
    }
    catch (...)
    {
        return nullptr;
    }
}

/// What goes wrong in a provider is not inspected, and nothing of it may reach the host.
template <typename Step> void Attempt(const Step& step) noexcept
{
    try
    {
        step();
    }
    catch (...) // for want of memory or threads: the provider does without what it could not make
    {
    }
}

} // namespace

HeadsetAdapterPlugin::HeadsetAdapterPlugin() noexcept
    : VynProviderPlugin(pluginApiVersion), connector(MakeProvider<HeadsetConnector>()),
      featureHandler(MakeProvider<HeadsetAudioFeatureHandler>())
{
}

bool HeadsetAdapterPlugin::Init()
{
    Log::Info("HeadsetAdapterPlugin::Init", "Init");
    if (!connector || !featureHandler)
    {
        Log::Error("HeadsetAdapterPlugin::Init", "Init Fail");
        return false;
    }
    Attempt([this] { connector->Init(); });
    Attempt([this] { featureHandler->Init(); });
    auto& host = VynCore::VynProviderProxy::GetInstance();
    host.RegistProvider(connector.get());
    host.RegistProvider(featureHandler.get());
    return false;
}

bool HeadsetAdapterPlugin::UnInit()
{
    Log::Info("HeadsetAdapterPlugin::UnInit", "UnInit");
    if (connector)
    {
        VynCore::VynProviderProxy::GetInstance().UnRegistProvider(connector.get());
        Attempt([this] { connector->UnInit(); });
    }
    if (featureHandler)
    {
        Attempt([this] { featureHandler->UnInit(); }); // unregisters itself, unlike the connecter: intended
    }
    return false;
}
