// The shipped module through its entry points, as the host uses it.
#include "tests/support/PluginModule.h"
#include "device/IDevConnecter.h"
#include "device/IDevFeatureHandler.h"
#include "device/VynTypes.h"
#include "simulator/host/HostControl.h"
#include "simulator/service/ConnectivityService.h"
#include "simulator/timeline/Timeline.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/LogLines.h"
#include "tests/support/PrivateAccess.h"
#include "tests/support/Watchdog.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <system_error>
#include <vector>

EXPOSE_PRIVATE(PluginApiVersion, &VynProviderPlugin::apiVersion);

namespace test
{

namespace
{

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class PluginModuleTest : public testing::Test
{
protected:
    PluginModuleTest()
    {
        sim::HostControl::Instance().Reset();
        sim::HostControl::Instance().SetIpcBus(bus);
        sim::Timeline::Instance().Clear();
    }

    /// What this thread has brought about at the host and the IPC library, and the plug-in's own lines.
    static std::vector<std::string> Story()
    {
        std::vector<std::string> story;
        for (const sim::TimelineEntry& entry : sim::Timeline::Instance().Entries())
        {
            const bool isPlugins = entry.what.ends_with("(HeadsetAdapterPlugin::Init)") ||
                                   entry.what.ends_with("(HeadsetAdapterPlugin::UnInit)");
            if (entry.threadId == GetCurrentThreadId() && (isPlugins || entry.who == "host" || entry.who == "ipc"))
            {
                story.push_back(entry.who + " " + entry.what);
            }
        }
        return story;
    }

    Watchdog watchdog{50s};
    std::string bus = "plugin-" + std::to_string(GetCurrentProcessId());
    PluginModule module;
};

class PluginWithServiceTest : public PluginModuleTest
{
protected:
    sim::ConnectivityService service{bus};
    Plugin plugin{module};
};

TEST_F(PluginModuleTest, CreateStartsNothing)
{
    const Plugin plugin(module);
    ASSERT_NE(plugin.Get(), nullptr);
    EXPECT_THAT(sim::Timeline::Instance().Entries(), IsEmpty());
    EXPECT_EQ(plugin.Get()->*MemberOf(PluginApiVersion{}), 1);
}

TEST_F(PluginModuleTest, TheOtherOperationsAnswerTrue)
{
    const Plugin plugin(module);
    EXPECT_TRUE(plugin->IsSupported());
    EXPECT_TRUE(plugin->IsEnabled());
}

TEST_F(PluginModuleTest, DestroyOfNothingDoesNothing)
{
    module.Destroy(nullptr);
    EXPECT_THAT(sim::Timeline::Instance().Entries(), IsEmpty());
}

using Slot = bool (*)(VynProviderPlugin*);

TEST_F(PluginModuleTest, TheSlotsAreInTheirOrderWithoutADestructor)
{
    const Plugin plugin(module);
    Slot slots[4];
    std::memcpy(slots, *reinterpret_cast<void**>(plugin.Get()), sizeof(slots));
    EXPECT_FALSE(slots[1](plugin.Get()));
    EXPECT_EQ(Story().front(), "log3 UnInit(HeadsetAdapterPlugin::UnInit)");
    EXPECT_TRUE(slots[2](plugin.Get()));
    EXPECT_TRUE(slots[3](plugin.Get()));
    sim::Timeline::Instance().Clear();
    EXPECT_FALSE(slots[0](plugin.Get()));
    EXPECT_EQ(Story().front(), "log3 Init(HeadsetAdapterPlugin::Init)");
}

TEST_F(PluginWithServiceTest, InitStartsBothProvidersAndThenRegistersThemTheConnecterFirst)
{
    EXPECT_FALSE(plugin->Init());
    EXPECT_THAT(
        Story(),
        ElementsAre(
            "log3 Init(HeadsetAdapterPlugin::Init)", "ipc IpcProxy 12144176",
            "ipc RegisterMessageCallback 12144176 10617840", "ipc RegisterMessageCallback 12144176 10617844",
            "ipc RegisterPublishMessageCallback 12144176", "ipc SubscribeIPCMessage 12144176 10616832 10617832",
            "ipc SubscribeIPCMessage 12144176 10616832 10617833",
            "ipc PostMsg 12144176 10617832 10616832 \"HeadsetAdapterPlugin\"",
            "ipc PostMsg 12144176 10617834 10616832 \"\"", "ipc IpcProxy 12144177",
            "ipc RegisterMessageCallback 12144177 10617840", "ipc RegisterMessageCallback 12144177 10617844",
            "ipc RegisterMessageCallback 12144177 10617848", "ipc RegisterPublishMessageCallback 12144177",
            "ipc SubscribeIPCMessage 12144177 10616832 10617832", "ipc SubscribeIPCMessage 12144177 10616832 10617833",
            "ipc PostMsg 12144177 10617832 10616832 \"HeadsetAdapterPlugin\"",
            "ipc PostMsg 12144177 10617834 10616832 \"\"", "host RegistProvider 2|2591", "host RegistProvider 3|9"));
    EXPECT_EQ(sim::HostControl::Instance().Providers().size(), 2U);
}

TEST_F(PluginWithServiceTest, TheHostReachesTheProvidersThroughTheirBase)
{
    plugin->Init();
    const auto providers = sim::HostControl::Instance().Providers();
    ASSERT_EQ(providers.size(), 2U);
    auto* const connecter = dynamic_cast<VynCore::IDevConnecter*>(providers[0]);
    auto* const featureHandler = dynamic_cast<VynCore::IDevFeatureHandler*>(providers[1]);
    ASSERT_NE(connecter, nullptr);
    ASSERT_NE(featureHandler, nullptr);
    EXPECT_EQ(static_cast<int>(connecter->GetDevType()), 2591);
    EXPECT_EQ(featureHandler->GetFeatureType(), 9);
    EXPECT_TRUE(featureHandler->IsFeatureAvailable());
    EXPECT_EQ(providers[0]->shared_from_this().get(), providers[0]);
    EXPECT_EQ(providers[1]->shared_from_this().get(), providers[1]);
}

TEST_F(PluginWithServiceTest, UnInitWithdrawsTheConnecterItselfAndLeavesTheHandlerToItself)
{
    plugin->Init();
    sim::Timeline::Instance().Clear();
    EXPECT_FALSE(plugin->UnInit());
    EXPECT_THAT(Story(), ElementsAre("log3 UnInit(HeadsetAdapterPlugin::UnInit)", "host UnRegistProvider 2|2591",
                                     "ipc PostMsg 12144176 10617833 10616832 \"HeadsetAdapterPlugin\"",
                                     "ipc UnRegisterMessageCallbackAll 12144176", "host UnRegistProvider 3|9",
                                     "ipc PostMsg 12144177 10617833 10616832 \"HeadsetAdapterPlugin\"",
                                     "ipc UnRegisterMessageCallbackAll 12144177"));
    EXPECT_THAT(sim::HostControl::Instance().Providers(), IsEmpty());
}

TEST_F(PluginWithServiceTest, InitMayBeRepeated)
{
    plugin->Init();
    EXPECT_FALSE(plugin->Init());
    EXPECT_EQ(sim::Timeline::Instance().Texts("host"),
              (std::vector<std::string>{"RegistProvider 2|2591", "RegistProvider 3|9", "RegistProvider 2|2591",
                                        "RegistProvider 3|9"}));
    EXPECT_EQ(sim::HostControl::Instance().Providers().size(), 2U);
    plugin->UnInit();
}

TEST_F(PluginWithServiceTest, ItMayBeStartedAgainAfterItsStop)
{
    plugin->Init();
    plugin->UnInit();
    plugin->Init();
    EXPECT_EQ(sim::HostControl::Instance().Providers().size(), 2U);
    plugin->UnInit();
    EXPECT_THAT(sim::HostControl::Instance().Providers(), IsEmpty());
}

TEST_F(PluginWithServiceTest, UnInitMayBeRepeated)
{
    plugin->Init();
    plugin->UnInit();
    sim::Timeline::Instance().Clear();
    EXPECT_FALSE(plugin->UnInit());
    EXPECT_EQ(sim::Timeline::Instance().Texts("host"),
              (std::vector<std::string>{"UnRegistProvider 2|2591", "UnRegistProvider 3|9"}));
}

TEST_F(PluginModuleTest, UnInitWithoutInitOnlyUnregisters)
{
    const Plugin plugin(module);
    EXPECT_FALSE(plugin->UnInit());
    EXPECT_THAT(Story(), ElementsAre("log3 UnInit(HeadsetAdapterPlugin::UnInit)", "host UnRegistProvider 2|2591",
                                     "host UnRegistProvider 3|9"));
}

TEST_F(PluginWithServiceTest, TheProvidersOutliveThePluginObject)
{
    VynProviderPlugin* const other = module.Create();
    other->Init();
    const auto providers = sim::HostControl::Instance().Providers();
    ASSERT_EQ(providers.size(), 2U);
    other->UnInit();
    sim::Timeline::Instance().Clear();
    module.Destroy(other);
    EXPECT_THAT(sim::Timeline::Instance().Texts("ipc"), IsEmpty()); // not even the proxies go
    EXPECT_EQ(providers[0]->GetKeyword(), "2|2591");
    EXPECT_EQ(providers[1]->GetKeyword(), "3|9");
    EXPECT_EQ(providers[0]->weak_from_this().use_count(), 1);
}

TEST_F(PluginWithServiceTest, OnceStartedTheModuleStaysInTheProcess)
{
    plugin->Init();
    plugin->UnInit();
    const std::wstring name = L"HeadsetAdapterPlugin.dll";
    FreeLibrary(module.Handle());
    ASSERT_NE(GetModuleHandleW(name.c_str()), nullptr);
    EXPECT_EQ(LoadLibraryW(name.c_str()), module.Handle()); // what the fixture gives back
}

// The storage that the module asks for, by the operators of the shared C++ runtime.
constexpr const char* runtime = "libstdc++-6.dll";
constexpr const char* operatorNew = "_Znwy";
constexpr const char* operatorNewNothrow = "_ZnwyRKSt9nothrow_t";
constexpr const char* operatorDelete = "_ZdlPv";

void* GiveNull(std::size_t, const std::nothrow_t&)
{
    return nullptr;
}

TEST_F(PluginModuleTest, WithoutMemoryForThePluginThereIsNone)
{
    const ImportPatch patch(module.Handle(), runtime, operatorNewNothrow, &GiveNull);
    EXPECT_EQ(module.Create(), nullptr);
    EXPECT_THAT(sim::Timeline::Instance().Entries(), IsEmpty());
}

int successesBeforeFailure = 0;

void* FailOnce(std::size_t size)
{
    if (successesBeforeFailure-- == 0)
    {
        throw std::bad_alloc();
    }
    return ::operator new(size);
}

/// Creates a plug-in while the `nth` of the providers' allocations fails, counted from 0.
VynProviderPlugin* CreateWithFailure(const PluginModule& module, int nth)
{
    const ImportPatch patch(module.Handle(), runtime, operatorNew, &FailOnce);
    successesBeforeFailure = nth;
    return module.Create();
}

TEST_F(PluginModuleTest, WithoutAConnecterInitFails)
{
    VynProviderPlugin* const plugin = CreateWithFailure(module, 0);
    ASSERT_NE(plugin, nullptr);
    EXPECT_FALSE(plugin->Init());
    EXPECT_THAT(LogLines(),
                ElementsAre("3 Init(HeadsetAdapterPlugin::Init)", "4 Init Fail(HeadsetAdapterPlugin::Init)"));
    EXPECT_THAT(sim::Timeline::Instance().Texts("host"), IsEmpty());
    EXPECT_THAT(sim::Timeline::Instance().Texts("ipc"), IsEmpty());
    EXPECT_FALSE(plugin->UnInit());
    EXPECT_THAT(sim::Timeline::Instance().Texts("host"), ElementsAre("UnRegistProvider 3|9"));
    module.Destroy(plugin);
}

TEST_F(PluginModuleTest, WithoutAFeatureHandlerInitFails)
{
    VynProviderPlugin* const plugin = CreateWithFailure(module, 1);
    ASSERT_NE(plugin, nullptr);
    EXPECT_FALSE(plugin->Init());
    EXPECT_THAT(LogLines(),
                ElementsAre("3 Init(HeadsetAdapterPlugin::Init)", "4 Init Fail(HeadsetAdapterPlugin::Init)"));
    EXPECT_FALSE(plugin->UnInit());
    EXPECT_THAT(sim::Timeline::Instance().Texts("host"), ElementsAre("UnRegistProvider 2|2591"));
    module.Destroy(plugin);
}

std::vector<void*> freed;

void NoteFree(void* storage)
{
    freed.push_back(storage);
    ::operator delete(storage);
}

TEST_F(PluginModuleTest, DestroyFreesThePluginsOwnStorageAlone)
{
    VynProviderPlugin* const plugin = module.Create();
    const ImportPatch patch(module.Handle(), runtime, operatorDelete, &NoteFree);
    module.Destroy(plugin);
    EXPECT_THAT(freed, ElementsAre(static_cast<void*>(plugin)));
}

// The system that has no thread left for the module. What is handed to the new thread stays the caller's.
void NoThread(void*, void*, void (*)())
{
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
}

TEST_F(PluginWithServiceTest, InitRegistersBothProvidersEvenWhenAThreadCannotBeMade)
{
    const ImportPatch patch(module.Handle(), runtime,
                            "_ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE",
                            &NoThread);
    EXPECT_FALSE(plugin->Init());
    EXPECT_EQ(sim::Timeline::Instance().Texts("host"),
              (std::vector<std::string>{"RegistProvider 2|2591", "RegistProvider 3|9"}));
    EXPECT_EQ(sim::Timeline::Instance().Count("ipc", "IpcProxy 12144176"), 1U);
    EXPECT_EQ(sim::Timeline::Instance().Count("ipc", "IpcProxy 12144177"), 0U); // it did not come that far
    EXPECT_FALSE(plugin->UnInit());
    EXPECT_THAT(sim::HostControl::Instance().Providers(), IsEmpty());
}

int NoLock(void*)
{
    return EAGAIN;
}

TEST_F(PluginModuleTest, UnInitWithdrawsBothProvidersEvenWhenTheyCannotStop)
{
    const Plugin plugin(module);
    {
        const ImportPatch patch(module.Handle(), "libwinpthread-1.dll", "pthread_mutex_lock", &NoLock);
        EXPECT_FALSE(plugin->UnInit());
    }
    EXPECT_THAT(Story(), ElementsAre("log3 UnInit(HeadsetAdapterPlugin::UnInit)", "host UnRegistProvider 2|2591",
                                     "host UnRegistProvider 3|9"));
}

TEST_F(PluginWithServiceTest, AFailedLockLeavesAnOperationAsASystemError)
{
    plugin->Init();
    const auto providers = sim::HostControl::Instance().Providers();
    ASSERT_EQ(providers.size(), 2U);
    auto& connecter = dynamic_cast<VynCore::IDevConnecter&>(*providers[0]);
    auto& featureHandler = dynamic_cast<VynCore::IDevFeatureHandler&>(*providers[1]);
    sim::Timeline::Instance().Clear();
    {
        const ImportPatch patch(module.Handle(), "libwinpthread-1.dll", "pthread_mutex_lock", &NoLock);
        EXPECT_THROW(connecter.NotifyConnStateChanged({}, static_cast<VynCore::DeviceState>(0)), std::system_error);
        EXPECT_THROW(connecter.ConnectDev({}), std::system_error);
        EXPECT_THROW(connecter.QueryConnectedDevAsync(), std::system_error);
        EXPECT_THROW(featureHandler.GetFeatureState("1"), std::system_error);
    }
    EXPECT_THAT(Story(), IsEmpty()); // neither a report nor a post
    plugin->UnInit();
}

// The keywords' code that the module exports, for providers of others.
struct OtherConnecter : VynCore::IDevConnecter
{
    VynCore::VynProviderType GetType() override { return static_cast<VynCore::VynProviderType>(-12); }
    VynCore::DeviceType GetDevType() override { return static_cast<VynCore::DeviceType>(4711); }
    std::int32_t ConnectDev(const VynCore::VynDevice&) override { return 0; }
    std::int32_t DisconnectDev(const VynCore::VynDevice&) override { return 0; }
    void NotifyConnStateChanged(const VynCore::VynDevice&, VynCore::DeviceState) override {}
    void CancelConnectDev(const VynCore::VynDevice&) override {}
    std::int32_t QueryConnectedDevAsync() override { return 0; }
    std::int32_t StopQueryConnectedDev() override { return 0; }
};

struct OtherHandler : VynCore::IDevFeatureHandler
{
    VynCore::VynProviderType GetType() override { return static_cast<VynCore::VynProviderType>(31); }
    std::int32_t GetFeatureType() override { return -8; }
    std::int32_t EnableFeature(const VynCore::VynDevice&) override { return 0; }
    std::int32_t DisableFeature(const VynCore::VynDevice&) override { return 0; }
    void ReportFeatureState(const VynCore::VynDevice&, const VynCore::DevFeatureStateInfo&) override {}
    bool IsFeatureAvailable() override { return false; }
    VynCore::DevFeatureStateInfo GetFeatureState(const std::string&) override { return {}; }
};

template <typename Interface> std::string ExportedKeyword(const PluginModule& module, const char* name, Interface& of)
{
    const FARPROC address = GetProcAddress(module.Handle(), name);
    if (address == nullptr)
    {
        return "not exported";
    }
    return reinterpret_cast<std::string (*)(Interface*)>(reinterpret_cast<void*>(address))(&of);
}

TEST_F(PluginModuleTest, TheExportedKeywordsFollowWhatIsOverridden)
{
    OtherConnecter connecter;
    OtherHandler handler;
    EXPECT_EQ(
        ExportedKeyword<VynCore::IDevConnecter>(module, "_ZN7VynCore13IDevConnecter10GetKeywordB5cxx11Ev", connecter),
        "-12|4711");
    EXPECT_EQ(ExportedKeyword<VynCore::IDevFeatureHandler>(
                  module, "_ZN7VynCore18IDevFeatureHandler10GetKeywordB5cxx11Ev", handler),
              "31|-8");
}

TEST_F(PluginModuleTest, InitRegistersBothProvidersEvenWhenTheyCannotStart)
{
    const Plugin plugin(module);
    {
        const ImportPatch patch(module.Handle(), "libwinpthread-1.dll", "pthread_mutex_lock", &NoLock);
        EXPECT_FALSE(plugin->Init());
    }
    EXPECT_THAT(sim::Timeline::Instance().Texts("host"), ElementsAre("RegistProvider 2|2591", "RegistProvider 3|9"));
}

} // namespace

} // namespace test
