#pragma once

#include "connector/HeadsetConnector.h"
#include "simulator/host/HostControl.h"
#include "simulator/host/wire/Package.h"
#include "simulator/service/ConnectivityService.h"
#include "simulator/service/Headset.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"
#include "tests/support/LogLines.h"
#include "tests/support/PrivateAccess.h"

#include "device/VynTypes.h"
#include "ipc/TagIPCMessageItem.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

EXPOSE_PRIVATE(ConnectorStates, &HeadsetConnector::devStatsMap);
EXPOSE_PRIVATE(ConnectorMutex, &HeadsetConnector::devStatsMutex);
EXPOSE_PRIVATE(ConnectorIsConnectDev, &HeadsetConnector::IsConnectDev);
EXPOSE_PRIVATE(ConnectorServerWorking, &HeadsetConnector::serverWorking);
EXPOSE_PRIVATE(ConnectorEvent, &HeadsetConnector::serverReady);

namespace test
{

using namespace std::chrono_literals;

constexpr auto generousLimit = 20s;
constexpr std::int32_t serviceModule = 10616832;
constexpr std::int32_t connectorClient = 12144176;

/// A headset as the tests use it; nothing in it looks like another text of it.
inline sim::Headset TestHeadset()
{
    return {"ident", "246813579135", "name", "alias", "group", "model", "sub"};
}

/// The device that the connecter makes of it.
inline VynCore::VynDevice TestDevice()
{
    VynCore::VynDevice device;
    device.deviceId = "ident";
    device.baseInfo.deviceMacAddr = "246813579135";
    device.deviceName = "name";
    device.deviceGroup = "group";
    device.modelId = "model";
    device.subModelId = "sub";
    device.deviceType = VynCore::DeviceType::Headset;
    return device;
}

/// A received message and its payload.
class Message
{
public:
    Message(std::int32_t moduleId, std::int32_t messageId, std::string payload = {}) : payload_(std::move(payload))
    {
        item_.moduleId = moduleId;
        item_.messageId = messageId;
        item_.dataLength = static_cast<std::int32_t>(payload_.size());
        item_.data = payload_.data();
    }

    TagIPCMessageItem& Item() { return item_; }

    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

private:
    std::string payload_;
    TagIPCMessageItem item_{};
};

/// The payload of a connection-state update.
inline std::string UpdatePayload(std::int32_t evType, const sim::Headset& headset = TestHeadset())
{
    return sim::EncodePackage({evType, headset.deviceId, headset.deviceMacAddr, headset.name, headset.alias,
                               headset.group, headset.modelId, headset.subModelId});
}

/// A connecter, with an IPC bus of its own on which there is no service yet.
class ConnectorTest : public testing::Test
{
protected:
    ConnectorTest()
    {
        static int number = 0;
        bus = "connector-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++number);
        sim::HostControl::Instance().Reset();
        sim::HostControl::Instance().SetIpcBus(bus);
        sim::FaultPlan::Instance().Clear();
        sim::Timeline::Instance().Clear();
    }

    ~ConnectorTest() override
    {
        connector.reset();
        sim::HostControl::Instance().Reset();
        sim::FaultPlan::Instance().Clear();
    }

    template <typename Tag> auto& Field() { return (*connector).*MemberOf(Tag{}); }

    bool HasEvent() { return Field<ConnectorEvent>().Wait(0).has_value(); }

    /// Starts the connecter with an announcement at hand, so that it does not wait; it is none of a service that works.
    void InitAtOnce()
    {
        Field<ConnectorEvent>().CreateIfMissing();
        Announce(10617833);
        connector->Init();
        sim::Timeline::Instance().Clear();
    }

    void Receive(std::int32_t evType, const sim::Headset& headset = TestHeadset())
    {
        Message message(serviceModule, 10617840, UpdatePayload(evType, headset));
        connector->OnRecvDeviceConnectStateUpdate(message.Item());
    }

    void Announce(std::int32_t messageId, std::int32_t moduleId = serviceModule)
    {
        Message message(moduleId, messageId);
        connector->OnRecvServerStateChanged(message.Item());
    }

    /// What this thread did, each entry as who told it, a blank and its text.
    static std::vector<std::string> OwnEntries()
    {
        std::vector<std::string> entries;
        for (const sim::TimelineEntry& entry : sim::Timeline::Instance().Entries())
        {
            if (entry.threadId == GetCurrentThreadId())
            {
                entries.push_back(entry.who + " " + entry.what);
            }
        }
        return entries;
    }

    static std::vector<std::string> HostCalls() { return sim::Timeline::Instance().Texts("host"); }

    std::string bus;
    std::shared_ptr<HeadsetConnector> connector = std::make_shared<HeadsetConnector>();
};

} // namespace test
