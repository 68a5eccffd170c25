#include "device/VynProviderProxy.h"
#include "simulator/host/HostControl.h"
#include "simulator/timeline/Timeline.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

using namespace VynCore;

namespace
{

class Provider : public IProvider
{
public:
    Provider(VynProviderType type, std::int32_t second) : type_(type), second_(second) {}

    VynProviderType GetType() override { return type_; }
    std::string GetKeyword() override { return NumericKeyword(type_, second_); }

private:
    VynProviderType type_;
    std::int32_t second_;
};

class ProviderProxy : public testing::Test
{
protected:
    ProviderProxy()
    {
        sim::Timeline::Instance().Clear();
        sim::HostControl::Instance().Reset();
    }

    ~ProviderProxy() override { sim::HostControl::Instance().Reset(); }

    VynProviderProxy& proxy = VynProviderProxy::GetInstance();
    sim::HostControl& host = sim::HostControl::Instance();
    Provider connecter{VynProviderType::DevConnecter, 2591};
    Provider handler{VynProviderType::DevFeatureHandler, 9};
};

VynDevice Headset()
{
    VynDevice device;
    device.deviceId = "dev";
    device.baseInfo.deviceMacAddr = "1234";
    device.bluetoothAddr = "5678";
    device.deviceType = DeviceType::Headset;
    return device;
}

} // namespace

TEST_F(ProviderProxy, KnowsAProviderFromItsRegistrationToItsWithdrawal)
{
    EXPECT_EQ(proxy.RegistProvider(&connecter), VynError::Success);
    EXPECT_EQ(proxy.RegistProvider(&handler), VynError::Success);
    EXPECT_THAT(host.Providers(), testing::ElementsAre(&connecter, &handler));
    EXPECT_EQ(host.FindProvider("2|2591"), &connecter);
    EXPECT_EQ(host.FindProvider("3|9"), &handler);
    EXPECT_EQ(host.FindProvider("3|10"), nullptr);
    EXPECT_EQ(proxy.UnRegistProvider(&connecter), VynError::Success);
    EXPECT_THAT(host.Providers(), testing::ElementsAre(&handler));
    EXPECT_EQ(host.FindProvider("2|2591"), nullptr);
    EXPECT_EQ(sim::Timeline::Instance().Texts("host"),
              (std::vector<std::string>{"RegistProvider 2|2591", "RegistProvider 3|9", "UnRegistProvider 2|2591"}));
}

TEST_F(ProviderProxy, RefusesWhatMakesNoSense)
{
    EXPECT_EQ(proxy.RegistProvider(nullptr), VynError::InvalidArgument);
    EXPECT_EQ(proxy.UnRegistProvider(nullptr), VynError::InvalidArgument);
    EXPECT_EQ(proxy.UnRegistProvider(&connecter), VynError::NotRegistered);
    EXPECT_EQ(proxy.RegistProvider(&connecter), VynError::Success);
    EXPECT_EQ(proxy.RegistProvider(&connecter), VynError::AlreadyRegistered);
    EXPECT_THAT(host.Providers(), testing::ElementsAre(&connecter));
    EXPECT_EQ(proxy.UnRegistProvider(&connecter), VynError::Success);
    EXPECT_EQ(proxy.UnRegistProvider(&connecter), VynError::NotRegistered);
}

TEST_F(ProviderProxy, KeepsReportsAndTellsTheHook)
{
    std::vector<std::string> told;
    host.SetConnStateHook(
        [&](const VynDevice& device, DeviceState state)
        {
            told.push_back(device.bluetoothAddr + " " + std::to_string(static_cast<int>(state)));
            EXPECT_EQ(sim::Timeline::Instance().Count("host", "OnDevConnStateChanged 1234 2"), 1U);
        });
    host.SetFeatureStateHook(
        [&](const VynDevice& device, const DevFeatureStateInfo& info)
        {
            told.push_back(device.bluetoothAddr + " " + std::to_string(info.featureId));
            EXPECT_EQ(sim::Timeline::Instance().Count("host", "OnFeatureStateChanged dev 9 3"), 1U);
        });
    proxy.OnDevConnStateChanged(Headset(), DeviceState::Disconnected);
    proxy.OnFeatureStateChanged(Headset(), {9, 3, L"extra"});

    EXPECT_EQ(told, (std::vector<std::string>{"5678 2", "5678 9"}));
    ASSERT_EQ(host.ConnStateReports().size(), 1U);
    EXPECT_EQ(host.ConnStateReports()[0].device.deviceType, DeviceType::Headset);
    EXPECT_EQ(host.ConnStateReports()[0].state, DeviceState::Disconnected);
    ASSERT_EQ(host.FeatureStateReports().size(), 1U);
    EXPECT_EQ(host.FeatureStateReports()[0].device.deviceId, "dev");
    EXPECT_EQ(host.FeatureStateReports()[0].info.extraText, L"extra");
    EXPECT_EQ(sim::Timeline::Instance().Texts("host"),
              (std::vector<std::string>{"OnDevConnStateChanged 1234 2", "OnFeatureStateChanged dev 9 3"}));
}

TEST_F(ProviderProxy, AHookMayAskTheHost)
{
    std::size_t reports = 0;
    host.SetConnStateHook(
        [&](const VynDevice&, DeviceState)
        {
            reports = host.ConnStateReports().size();
            host.SetConnStateHook(nullptr);
        });
    proxy.OnDevConnStateChanged(Headset(), DeviceState::Connected);
    proxy.OnDevConnStateChanged(Headset(), DeviceState::Disconnected);
    EXPECT_EQ(reports, 1U);
    EXPECT_EQ(host.ConnStateReports().size(), 2U);
}

TEST_F(ProviderProxy, TakesReportsOfManyThreads)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread)
    {
        threads.emplace_back(
            [this]
            {
                for (int report = 0; report < 200; ++report)
                {
                    proxy.OnDevConnStateChanged(Headset(), DeviceState::Connected);
                    proxy.OnFeatureStateChanged(Headset(), {9, 0, {}});
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(host.ConnStateReports().size(), 1600U);
    EXPECT_EQ(host.FeatureStateReports().size(), 1600U);
}

TEST_F(ProviderProxy, ForgetsEverythingOnReset)
{
    bool told = false;
    proxy.RegistProvider(&connecter);
    host.SetConnStateHook([&](const VynDevice&, DeviceState) { told = true; });
    const std::string first = host.IpcBus();
    host.SetIpcBus("other");
    EXPECT_EQ(host.IpcBus(), "other");
    host.Reset();
    proxy.OnDevConnStateChanged(Headset(), DeviceState::Connected);
    EXPECT_FALSE(told);
    EXPECT_TRUE(host.Providers().empty());
    EXPECT_EQ(host.IpcBus(), first);
}
