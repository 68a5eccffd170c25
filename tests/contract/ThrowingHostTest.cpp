// A host whose calls throw: what it was asked for may be left undone, everything else is done.
#include "tests/contract/ContractTest.h"
#include "tests/support/DecoratedNames.h"
#include "tests/support/ImportPatch.h"

#include "device/IProvider.h"
#include "device/IpcProxy.h"
#include "device/VynProviderProxy.h"
#include "ipc/IPCMessageClient.h"

#include <windows.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

namespace test
{

namespace
{

using testing::ElementsAreArray;

constexpr const char* deviceSdk = "VynDeviceSdk.dll";

[[noreturn]] void Throw()
{
    sim::Timeline::Instance().Add("test", "throws");
    throw std::runtime_error("the host's own trouble");
}

VynCore::VynError ThrowFromProviders(VynCore::VynProviderProxy*, VynCore::IProvider*)
{
    Throw();
}

bool ThrowFromPost(VynCore::IpcProxy*, std::int32_t, std::int32_t, const std::string&)
{
    Throw();
}

IPCMessageClient* ThrowFromGetClient(VynCore::IpcProxy*)
{
    Throw();
}

bool ThrowFromDropping(IPCMessageClient*)
{
    Throw();
}

/// A call of the host's, and what still reaches the host and its IPC library from `UnInit` when it throws.
struct ThrowingCall
{
    const char* name;
    const char* dll;
    const char* function;
    void* replacement;
    std::vector<std::string> remaining;
};

constexpr const char* withdrawal = "host UnRegistProvider 2|2591";
constexpr const char* stopped = "ipc PostMsg 12144176 10617833 10616832 \"HeadsetAdapterPlugin\"";
constexpr const char* dropping = "ipc UnRegisterMessageCallbackAll 12144176";
constexpr const char* handlersWithdrawal = "host UnRegistProvider 3|9";
constexpr const char* handlersStopped = "ipc PostMsg 12144177 10617833 10616832 \"HeadsetAdapterPlugin\"";
constexpr const char* handlersDropping = "ipc UnRegisterMessageCallbackAll 12144177";

// Counts the loops that are stopped: their threads are joined.
int joins = 0;
using Join = std::intptr_t(void* thread, void* exitCode); // one of the runtimes has neither result nor second argument
Join* originalJoin = nullptr;

std::intptr_t NoteJoin(void* thread, void* exitCode)
{
    ++joins;
    return originalJoin(thread, exitCode);
}

class ThrowingHosts : public ContractTest, public testing::WithParamInterface<ThrowingCall>
{
protected:
    /// The loop is stopped, and each of the others throws or is told.
    void UnInitWithThrowingCall()
    {
        const ThrowingCall& call = GetParam();
        const ImportPatch throwing(module.Handle(), call.dll, call.function, call.replacement);
        const ImportPatch join(module.Handle(), imported::runtime, imported::joinThread, &NoteJoin);
        originalJoin = join.Original<Join>();
        joins = 0;
        EXPECT_NO_THROW(EXPECT_FALSE((*plugin)->UnInit()));
    }
};

TEST_P(ThrowingHosts, UnInitGoesOn)
{
    Start();
    VynCore::IDevConnecter& connecter = Connecter();
    connecter.NotifyConnStateChanged(Device(mac), static_cast<VynCore::DeviceState>(0));
    Handler().DisableFeature(Device(otherMac)); // of a headset that nothing is known of: nothing confirms it
    ASSERT_TRUE(WaitFor("test", "Wait 10000"));
    ClearTimeline();

    UnInitWithThrowingCall();
    EXPECT_EQ(sim::Timeline::Instance().Count("test", "throws"), 2U); // once for each provider
    EXPECT_THAT(Story({"host", "ipc"}, GetCurrentThreadId()), ElementsAreArray(GetParam().remaining));
    EXPECT_EQ(joins, 1);
    // The worker's cooperation was dropped.
    EXPECT_TRUE(WaitFor("log3", Text("CooperateThreadFunc", "UIRecvDownloadThreadFunc stop")));

    // The connection states were forgotten, and the events closed.
    ClearTimeline();
    connecter.NotifyConnStateChanged(Device(mac), static_cast<VynCore::DeviceState>(0));
    EXPECT_EQ(sim::Timeline::Instance().Count("host", "OnDevConnStateChanged  0"), 1U);
    InitAgain();
    EXPECT_EQ(sim::Timeline::Instance().Count("log4", "CreateEvent. ret=1(HeadsetConnector::Init)"), 1U);
    EXPECT_EQ(sim::Timeline::Instance().Count("log4", "CreateEvent. ret=1(HeadsetAudioFeatureHandler::Init)"), 1U);
}

INSTANTIATE_TEST_SUITE_P(Each, ThrowingHosts,
                         testing::Values(ThrowingCall{"UnRegistProvider",
                                                      deviceSdk,
                                                      imported::unRegistProvider,
                                                      reinterpret_cast<void*>(&ThrowFromProviders),
                                                      {stopped, dropping, handlersStopped, handlersDropping}},
                                         ThrowingCall{"PostMsg",
                                                      deviceSdk,
                                                      imported::postText,
                                                      reinterpret_cast<void*>(&ThrowFromPost),
                                                      {withdrawal, dropping, handlersWithdrawal, handlersDropping}},
                                         ThrowingCall{"GetIpcClient",
                                                      deviceSdk,
                                                      imported::getIpcClient,
                                                      reinterpret_cast<void*>(&ThrowFromGetClient),
                                                      {withdrawal, stopped, handlersWithdrawal, handlersStopped}},
                                         ThrowingCall{"UnRegisterMessageCallbackAll",
                                                      "QvIpc.dll",
                                                      imported::dropCallbacks,
                                                      reinterpret_cast<void*>(&ThrowFromDropping),
                                                      {withdrawal, stopped, handlersWithdrawal, handlersStopped}}),
                         [](const auto& tested) { return tested.param.name; });

using ThrowingRegister = ContractTest;

TEST_F(ThrowingRegister, InitOffersItBothProviders)
{
    StartService();
    plugin.emplace(module);
    const ImportPatch throwing(module.Handle(), deviceSdk, imported::registProvider, &ThrowFromProviders);
    EXPECT_NO_THROW(EXPECT_FALSE((*plugin)->Init()));
    EXPECT_EQ(sim::Timeline::Instance().Count("test", "throws"), 2U);
}

} // namespace

} // namespace test
