// The provider interfaces are defined inline in the host's headers, and their code is this module's to export, also of
// those that it does not implement. A compiler for Microsoft's ABI exports all of it by the classes' export attribute;
// GCC exports just their tables so, hence it gets the names of the members from ProviderInterfaces.def.
#include "device/DeviceApi.h"

#include <cstdint>
#include <memory>
#include <string>

namespace VynCore
{
class VYN_PROVIDER_API IProvider;
}

// Before the interfaces use it as their base: afterwards an export would come too late.
template class VYN_PROVIDER_API std::enable_shared_from_this<VynCore::IProvider>;

#include "device/IDevConnecter.h"
#include "device/IDevFeatureHandler.h"
#include "device/IDevFinder.h"
#include "device/IToolProvider.h"
#include "device/VynTypes.h"

namespace
{

using namespace VynCore;

// GCC emits an inline member where it is used. These use them all, for that purpose alone.

struct Finder final : IDevFinder
{
    std::int32_t StartFind() override { return 0; }
    std::int32_t StopFind() override { return 0; }
    bool IsFinding() override { return false; }
};

struct Connecter final : IDevConnecter
{
    std::int32_t ConnectDev(const VynDevice&) override { return 0; }
    std::int32_t DisconnectDev(const VynDevice&) override { return 0; }
    void NotifyConnStateChanged(const VynDevice&, DeviceState) override {}
    void CancelConnectDev(const VynDevice&) override {}
    std::int32_t QueryConnectedDevAsync() override { return 0; }
    std::int32_t StopQueryConnectedDev() override { return 0; }
};

struct FeatureHandler final : IDevFeatureHandler
{
    std::int32_t GetFeatureType() override { return 0; }
    std::int32_t EnableFeature(const VynDevice&) override { return 0; }
    std::int32_t DisableFeature(const VynDevice&) override { return 0; }
    void ReportFeatureState(const VynDevice&, const DevFeatureStateInfo&) override {}
    bool IsFeatureAvailable() override { return false; }
    DevFeatureStateInfo GetFeatureState(const std::string&) override { return {}; }
};

struct Tool final : IToolProvider
{
    std::int32_t RunTool(const std::string&) override { return 0; }
};

template <typename Provider> void UseMembers()
{
    const Provider original;
    Provider copy(original); // the virtual base is made here, by the most derived class
    copy = original;
    static_cast<IProvider&>(copy) = original;
}

} // namespace

[[gnu::used]] static void UseAllMembers()
{
    UseMembers<Finder>();
    UseMembers<Connecter>();
    UseMembers<FeatureHandler>();
    UseMembers<Tool>();
}
