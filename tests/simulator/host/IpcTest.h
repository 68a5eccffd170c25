#pragma once

#include "device/IpcProxy.h"
#include "simulator/host/HostControl.h"
#include "simulator/service/ConnectivityService.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"
#include "tests/simulator/host/Inbox.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

/// A test with IPC clients on the bus of its process, and a service when it makes one.
class IpcTest : public testing::Test
{
protected:
    static constexpr std::int32_t clientId = 7;
    static constexpr std::int32_t moduleId = 0xA20000;
    static constexpr std::int32_t update = 0xA203F0;
    static constexpr std::int32_t started = 0xA203E8;
    static constexpr std::int32_t stopped = 0xA203E9;

    IpcTest()
    {
        sim::Timeline::Instance().Clear();
        sim::FaultPlan::Instance().Clear();
        sim::HostControl::Instance().Reset();
    }

    ~IpcTest() override { sim::FaultPlan::Instance().Clear(); }

    sim::ConnectivityService& StartService(sim::ServiceOptions options = {})
    {
        service = std::make_unique<sim::ConnectivityService>(sim::HostControl::Instance().IpcBus(), options);
        return *service;
    }

    /// A client that the service knows.
    std::unique_ptr<VynCore::IpcProxy> ConnectedClient()
    {
        auto proxy = std::make_unique<VynCore::IpcProxy>(clientId);
        EXPECT_TRUE(service->WaitForClient(clientId, patience));
        return proxy;
    }

    void Send(std::int32_t messageId, const std::string& text)
    {
        service->SendRaw(messageId, moduleId, {.bytes = text});
    }

    std::unique_ptr<sim::ConnectivityService> service;
};
