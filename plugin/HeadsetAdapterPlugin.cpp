#include "plugin/HeadsetAdapterPlugin.h"

#include "connector/HeadsetConnector.h"
#include "device/VynProviderProxy.h"
#include "feature/HeadsetAudioFeatureHandler.h"
#include "plugin/Attempt.h"
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
    // What goes wrong in a provider or at the host is not inspected, and nothing of it may reach the host.
    Attempt([this] { connector->Init(); });
    Attempt([this] { featureHandler->Init(); });
    Attempt([this] { VynCore::VynProviderProxy::GetInstance().RegistProvider(connector.get()); });
    Attempt([this] { VynCore::VynProviderProxy::GetInstance().RegistProvider(featureHandler.get()); });
    return false;
}

bool HeadsetAdapterPlugin::UnInit()
{
    Log::Info("HeadsetAdapterPlugin::UnInit", "UnInit");
    if (connector)
    {
        Attempt([this] { VynCore::VynProviderProxy::GetInstance().UnRegistProvider(connector.get()); });
        Attempt([this] { connector->UnInit(); });
    }
    if (featureHandler)
    {
        Attempt([this] { featureHandler->UnInit(); }); // unregisters itself, unlike the connecter: intended
    }
    return false;
}
