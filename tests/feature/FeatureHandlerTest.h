#pragma once

#include "audio/EndpointRecord.h"
#include "audio/ModuleEndpoints.h"
#include "feature/HeadsetAudioFeatureHandler.h"
#include "simulator/audio/AudioService.h"
#include "simulator/host/HostControl.h"
#include "simulator/service/ConnectivityService.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"
#include "tests/feature/Story.h"
#include "tests/feature/WatchedWaits.h"
#include "tests/support/DecoratedNames.h"
#include "tests/support/PrivateAccess.h"

#include "device/VynTypes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

EXPOSE_PRIVATE(CoopTaskQueue, &HeadsetAudioFeatureHandler::coopTaskQueue);
EXPOSE_PRIVATE(CoopMutex, &HeadsetAudioFeatureHandler::coopMutex);
EXPOSE_PRIVATE(PendingMac, &HeadsetAudioFeatureHandler::pendingMac);
EXPOSE_PRIVATE(PendingKind, &HeadsetAudioFeatureHandler::pendingKind);
EXPOSE_PRIVATE(PendingEvent, &HeadsetAudioFeatureHandler::pendingEvent);
EXPOSE_PRIVATE(Proxy, &HeadsetAudioFeatureHandler::ipcProxy);
EXPOSE_PRIVATE(ServerWorking, &HeadsetAudioFeatureHandler::serverWorking);
EXPOSE_PRIVATE(ServerReady, &HeadsetAudioFeatureHandler::serverReady);
EXPOSE_PRIVATE(VolumeLoop, &HeadsetAudioFeatureHandler::volumeTaskLoop);
EXPOSE_PRIVATE(VolumeTaskId, &HeadsetAudioFeatureHandler::volumeTaskId);
EXPOSE_PRIVATE(VolumeMutex, &HeadsetAudioFeatureHandler::volumeMutex);
EXPOSE_PRIVATE(DeviceChangeMutex, &HeadsetAudioFeatureHandler::deviceChangeMutex);
EXPOSE_PRIVATE(FeatureStateMutex, &HeadsetAudioFeatureHandler::featureStateMutex);
EXPOSE_PRIVATE(ProxyMutex, &HeadsetAudioFeatureHandler::proxyMutex);
EXPOSE_PRIVATE(StartWorker, &HeadsetAudioFeatureHandler::StartWorker);
EXPOSE_PRIVATE(StartTaskLoop, &HeadsetAudioFeatureHandler::StartTaskLoop);

namespace test
{

using namespace std::chrono_literals;

inline constexpr const char* mac = "11111822610015";      // 0A1B2C3D4E5F; **15 in the log
inline constexpr const char* otherMac = "18838586676582"; // 112233445566; **82 in the log

/// The host's function that makes the display form of a narrow text, as `AccessoryBase.dll` exports it.
inline constexpr const char* shortening = imported::getLastTwoSerialNumber;

/// A feature handler that is not started, with an endpoint list and a default set of the test's own.
class FeatureHandlerTest : public testing::Test
{
protected:
    FeatureHandlerTest();
    ~FeatureHandlerTest() override;

    static EndpointRecord Stereo(const std::wstring& id, const std::string& headset = mac);
    static EndpointRecord HandsFree(const std::wstring& id, const std::string& headset = mac);
    static EndpointRecord Microphone(const std::wstring& id, const std::string& headset = mac);
    static EndpointRecord Speaker(const std::wstring& id);

    /// Puts a record into the module-wide endpoint list, or an id into the default set.
    static void Know(const EndpointRecord& record);
    static void MakeDefault(const std::wstring& id);

    /// An active endpoint of the audio service, which the policy objects work on.
    static std::wstring AddEndpoint(const std::string& label, EDataFlow flow = eRender);

    static VynCore::VynDevice Device(const std::string& bluetoothAddr);

    template <typename Tag> auto& Field(Tag tag) const { return (*handler).*MemberOf(tag); }
    void StartWorkerOnly() const { ((*handler).*MemberOf(StartWorker{}))(); }

    /// Makes a task the one that is being carried out, as the worker does.
    void SetPending(const std::string& headset, std::uint32_t kind) const;
    bool IsPendingSignalled() const;
    void Queue(const std::string& headset, std::uint32_t kind) const;

    /// The queue as "<mac> <kind>".
    std::vector<std::string> Queued() const;

    /// A service on the bus, and a proxy of the handler's that is connected to it. The service answers nothing.
    void ConnectToService();

    static void ClearTimeline() { sim::Timeline::Instance().Clear(); }
    static bool WaitFor(const std::string& who, const std::string& what, std::size_t count = 1);

    std::shared_ptr<HeadsetAudioFeatureHandler> handler = std::make_shared<HeadsetAudioFeatureHandler>();
    std::unique_ptr<sim::ConnectivityService> service;
};

} // namespace test
