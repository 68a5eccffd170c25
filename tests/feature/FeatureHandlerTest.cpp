#include "tests/feature/FeatureHandlerTest.h"

#include "audio/EndpointRecord.h"
#include "feature/CoopTask.h"
#include "plugin/OwnedHandle.h"

#include "device/IpcProxy.h"
#include "device/VynTypes.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace test
{

FeatureHandlerTest::FeatureHandlerTest()
{
    sim::HostControl::Instance().Reset();
    sim::FaultPlan::Instance().Clear();
    ClearTimeline();
}

FeatureHandlerTest::~FeatureHandlerTest()
{
    sim::HostControl::Instance().Reset(); // hooks that capture the test
}

EndpointRecord FeatureHandlerTest::Stereo(const std::wstring& id, const std::string& headset)
{
    EndpointRecord record;
    record.devicePwszAllID = id;
    record.deviceStateName = "DEVICE_STATE_ACTIVE";
    record.pszFlow = "eRender";
    record.deviceTypeID = 1;
    record.deviceMacAddr = headset;
    return record;
}

EndpointRecord FeatureHandlerTest::HandsFree(const std::wstring& id, const std::string& headset)
{
    EndpointRecord record = Stereo(id, headset);
    record.deviceTypeID = 2;
    return record;
}

EndpointRecord FeatureHandlerTest::Microphone(const std::wstring& id, const std::string& headset)
{
    EndpointRecord record = HandsFree(id, headset);
    record.pszFlow = "eCapture";
    return record;
}

EndpointRecord FeatureHandlerTest::Speaker(const std::wstring& id)
{
    EndpointRecord record = Stereo(id, "");
    record.deviceTypeID = 0;
    const std::wstring container = L"{00000000-0000-0000-FFFF-FFFFFFFFFFFF}";
    std::ranges::copy(container, record.containerId);
    return record;
}

void FeatureHandlerTest::Know(const EndpointRecord& record)
{
    ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
    const std::scoped_lock lock(endpoints.endpointMutex);
    endpoints.endpointList[record.devicePwszAllID] = record;
}

void FeatureHandlerTest::MakeDefault(const std::wstring& id)
{
    ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
    const std::scoped_lock lock(endpoints.defaultSetMutex);
    endpoints.defaultSet.insert(id);
}

std::wstring FeatureHandlerTest::AddEndpoint(const std::string& label, EDataFlow flow)
{
    return sim::AudioService::Instance().AddEndpoint({.label = label, .flow = flow});
}

VynCore::VynDevice FeatureHandlerTest::Device(const std::string& bluetoothAddr)
{
    VynCore::VynDevice device;
    device.bluetoothAddr = bluetoothAddr;
    return device;
}

void FeatureHandlerTest::SetPending(const std::string& headset, std::uint32_t kind) const
{
    const std::scoped_lock lock(Field(CoopMutex{}));
    Field(PendingMac{}) = headset;
    Field(PendingKind{}) = kind;
    Field(PendingEvent{}) = std::make_shared<const OwnedHandle>(OwnedHandle::AutoResetEvent());
}

bool FeatureHandlerTest::IsPendingSignalled() const
{
    const std::scoped_lock lock(Field(CoopMutex{}));
    return WaitForSingleObject(Field(PendingEvent{})->Get(), 0) == WAIT_OBJECT_0;
}

void FeatureHandlerTest::Queue(const std::string& headset, std::uint32_t kind) const
{
    const std::scoped_lock lock(Field(CoopMutex{}));
    Field(CoopTaskQueue{}).push_back({headset, kind, OwnedHandle::AutoResetEvent()});
}

std::vector<std::string> FeatureHandlerTest::Queued() const
{
    const std::scoped_lock lock(Field(CoopMutex{}));
    std::vector<std::string> queued;
    for (const CoopTask& task : Field(CoopTaskQueue{}))
    {
        queued.push_back(task.mac + " " + std::to_string(task.kind));
    }
    return queued;
}

void FeatureHandlerTest::ConnectToService()
{
    service = std::make_unique<sim::ConnectivityService>(sim::HostControl::Instance().IpcBus(),
                                                         sim::ServiceOptions{.silent = true});
    Field(Proxy{}) = std::make_shared<VynCore::IpcProxy>(12144177);
    ASSERT_TRUE(service->WaitForClient(12144177, 10s));
    ClearTimeline();
}

bool FeatureHandlerTest::WaitFor(const std::string& who, const std::string& what, std::size_t count)
{
    return sim::Timeline::Instance().WaitFor(who, what, 20s, count);
}

} // namespace test
