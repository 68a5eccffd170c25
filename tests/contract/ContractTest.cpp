#include "tests/contract/ContractTest.h"

#include "simulator/audio/ContainerIds.h"
#include "simulator/audio/EndpointOptions.h"
#include "simulator/service/Headset.h"

#include "device/IProvider.h"
#include "device/VynTypes.h"

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <map>
#include <stdexcept>

namespace test
{

namespace
{

template <typename Provider> Provider& Find(const char* keyword)
{
    VynCore::IProvider* const provider = sim::HostControl::Instance().FindProvider(keyword);
    if (provider == nullptr)
    {
        throw std::runtime_error(std::string("not registered: ") + keyword);
    }
    return dynamic_cast<Provider&>(*provider);
}

/// A test that failed once in a thousand runs leaves behind what happened in it.
void PrintTimeline()
{
    for (const sim::TimelineEntry& entry : sim::Timeline::Instance().Entries())
    {
        std::cout << std::chrono::duration_cast<std::chrono::microseconds>(entry.time).count() << " us, thread "
                  << entry.threadId << ", " << entry.who << ' ' << entry.what << '\n';
    }
}

} // namespace

ContractTest::ContractTest() : ContractTest(ShortWaits()) {}

ContractTest::ContractTest(std::optional<WatchedWaits::Lengths> lengths) : watchdog(100s)
{
    Host().Reset();
    sim::FaultPlan::Instance().Clear();
    ClearTimeline();
    if (lengths)
    {
        waits.emplace(module.Handle(), *lengths);
    }
}

ContractTest::~ContractTest()
{
    if (HasFailure())
    {
        PrintTimeline();
    }
    Host().SetConnStateHook(nullptr);
    Host().SetFeatureStateHook(nullptr);
    sim::FaultPlan::Instance().Clear();
    sim::Timeline::Instance().SetListener({});
    if (plugin)
    {
        (*plugin)->UnInit();
    }
    Audio().Reset(); // afterwards no thread looks for device nodes any more
}

WatchedWaits::Lengths ContractTest::ShortWaits()
{
    return {{100, 0}, {300, 0}, {500, 0}, {800, 0}, {1000, 0}, {3000, 30000}, {10000, 60000}};
}

void ContractTest::StartService(const sim::ServiceOptions& options)
{
    service = std::make_unique<sim::ConnectivityService>(Host().IpcBus(), options);
}

void ContractTest::StartPlugin()
{
    plugin.emplace(module);
    ASSERT_NE(plugin->Get(), nullptr);
    EXPECT_FALSE((*plugin)->Init());
    if (service)
    {
        ASSERT_TRUE(service->WaitForPost(10617834, 2, longWait));
    }
}

void ContractTest::InitAgain()
{
    const std::size_t queries = service->Posts(10617834).size();
    EXPECT_FALSE((*plugin)->Init());
    ASSERT_TRUE(service->WaitForPost(10617834, queries + 2, longWait));
}

void ContractTest::Start()
{
    AddSpeaker();
    StartService();
    StartPlugin();
    // The service answers each of a provider's two registrations.
    ASSERT_TRUE(WaitFor("ipc", "delivered 12144176 10617832", 2));
    ASSERT_TRUE(WaitFor("ipc", "delivered 12144177 10617832", 2));
    ASSERT_TRUE(WaitFor("log3", Text("CooperateThreadFunc", "Download wait...0")));
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
}

VynCore::IDevConnecter& ContractTest::Connecter() const
{
    return Find<VynCore::IDevConnecter>("2|2591");
}

VynCore::IDevFeatureHandler& ContractTest::Handler() const
{
    return Find<VynCore::IDevFeatureHandler>("3|9");
}

void ContractTest::AddSpeaker() const
{
    Audio().AddEndpoint({.label = "speaker", .friendlyName = L"Speakers", .containerId = sim::builtInContainer});
}

void ContractTest::AddHeadset(sim::HeadsetOptions options)
{
    nodes.AddHeadset(options.address);
    Audio().ConnectHeadset(options);
}

void ContractTest::AddOtherHeadset()
{
    AddHeadset({.address = otherAddress, .name = L"Other", .label = "other"});
}

void ContractTest::Tell(std::int32_t evType, const sim::Headset& of) const
{
    service->SendConnectState(10617840, evType, of);
}

void ContractTest::ConnectAndWait(const sim::Headset& of)
{
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    Tell(Event::connected, of);
    ASSERT_TRUE(WaitFor("ipc", "delivered 12144176 10617840"));
    ASSERT_TRUE(WaitForTasks());
}

bool ContractTest::WaitForTasks(std::size_t count)
{
    return WaitFor("log3", Text("CooperateThreadFunc", "Download wait...0"), count) && WaitForIdle();
}

bool ContractTest::WaitForIdle()
{
    return Audio().WaitForIdle(longWait);
}

bool ContractTest::WaitFor(std::string_view who, const std::string& what, std::size_t count)
{
    return sim::Timeline::Instance().WaitFor(who, what, longWait, count);
}

std::uint32_t ContractTest::ThreadOf(std::string_view who, std::string_view what)
{
    for (const sim::TimelineEntry& entry : sim::Timeline::Instance().Entries())
    {
        if (entry.who == who && entry.what == what)
        {
            return entry.threadId;
        }
    }
    return 0;
}

std::vector<std::string> ContractTest::Happened(std::initializer_list<std::string_view> tellers, std::uint32_t threadId)
{
    std::vector<std::string> happened = Story(tellers, threadId);
    std::erase_if(happened,
                  [](const std::string& entry)
                  {
                      return entry.find("(HeadFeatureConnect::") != entry.npos ||
                             entry.starts_with("audio CoCreateInstance MMDeviceEnumerator");
                  });
    return happened;
}

std::vector<std::string> ContractTest::PolicyCalls()
{
    std::vector<std::string> calls = Story({"audio"});
    std::erase_if(calls, [](const std::string& entry) { return !entry.starts_with("audio Set"); });
    return calls;
}

VynCore::VynDevice ContractTest::Device(const std::string& bluetoothAddr)
{
    VynCore::VynDevice device;
    device.bluetoothAddr = bluetoothAddr;
    return device;
}

void ContractTest::ExpectOnlyTheRegistrationHeld()
{
    const std::map<std::string, std::size_t> registration = {{"MMDeviceEnumerator", 1}};
    EXPECT_EQ(Audio().LiveObjects(), registration);
    EXPECT_EQ(Audio().LiveReferences(), registration);
    EXPECT_EQ(Audio().LiveMemory(), 0U);
}

} // namespace test
