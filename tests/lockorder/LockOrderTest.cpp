// The module's lock order, by the names of its locks.
#include "audio/CMMNotificationClient.h"
#include "audio/ModuleEndpoints.h"
#include "connector/HeadsetConnector.h"
#include "connector/ServerReadyEvent.h"
#include "feature/HeadsetAudioFeatureHandler.h"
#include "simulator/keys/VolumeKeys.h"
#include "taskloop/TaskLoop.h"
#include "tests/lockorder/LockWatch.h"
#include "tests/lockorder/Routine.h"
#include "tests/support/PrivateAccess.h"
#include "tests/support/Watchdog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>

EXPOSE_PRIVATE(CoopMutex, &HeadsetAudioFeatureHandler::coopMutex);
EXPOSE_PRIVATE(DeviceChangeMutex, &HeadsetAudioFeatureHandler::deviceChangeMutex);
EXPOSE_PRIVATE(FeatureStateMutex, &HeadsetAudioFeatureHandler::featureStateMutex);
EXPOSE_PRIVATE(ProxyMutex, &HeadsetAudioFeatureHandler::proxyMutex);
EXPOSE_PRIVATE(LoopLifeMutex, &HeadsetAudioFeatureHandler::loopLifeMutex);
EXPOSE_PRIVATE(TipMutex, &HeadsetAudioFeatureHandler::tipMutex);
EXPOSE_PRIVATE(VolumeMutex, &HeadsetAudioFeatureHandler::volumeMutex);
EXPOSE_PRIVATE(VolumeTaskId, &HeadsetAudioFeatureHandler::volumeTaskId);
EXPOSE_PRIVATE(VolumeTaskLoop, &HeadsetAudioFeatureHandler::volumeTaskLoop);
EXPOSE_PRIVATE(QueueMutex, &TaskLoop::queueMutex);
EXPOSE_PRIVATE(WaitMutex, &TaskLoop::waitMutex);
EXPOSE_PRIVATE(HandlerServerReady, &HeadsetAudioFeatureHandler::serverReady);
EXPOSE_PRIVATE(ConnecterServerReady, &HeadsetConnector::serverReady);
EXPOSE_PRIVATE(ConnecterProxyMutex, &HeadsetConnector::proxyMutex);
EXPOSE_PRIVATE(ServerReadyMutex, &ServerReadyEvent::mutex_);
EXPOSE_PRIVATE(CallbackMutex, &CMMNotificationClient::callbackMutex);
EXPOSE_PRIVATE(DevStatsMutex, &HeadsetConnector::devStatsMutex);
EXPOSE_PRIVATE(StatesMutex, &HeadsetConnector::statesMutex);

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class LockOrder : public testing::Test
{
protected:
    LockOrder()
    {
        watch.Clear();
        ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
        watch.Name(endpoints.defaultSetMutex, "defaultSetMutex", 3);
        watch.Name(endpoints.endpointMutex, "endpointMutex", 4);
        Name(test::DeviceChangeMutex{}, "deviceChangeMutex", 2);
        Name(test::FeatureStateMutex{}, "featureStateMutex", 2);
        Name(test::VolumeMutex{}, "volumeMutex", 2);
        Name(test::CoopMutex{}, "coopMutex", 9);
        Name(test::ProxyMutex{}, "proxyMutex", 9);
        Name(test::TipMutex{}, "tipMutex", 8);
        Name(test::LoopLifeMutex{}, "loopLifeMutex", 1);
        watch.Name((*connecter).*MemberOf(test::DevStatsMutex{}), "devStatsMutex", 8);
        watch.Name((*connecter).*MemberOf(test::StatesMutex{}), "statesMutex", 9);
        watch.Name((*connecter).*MemberOf(test::ConnecterProxyMutex{}), "connecter's proxyMutex", 9);
        watch.Name((*connecter).*MemberOf(test::ConnecterServerReady{}).*MemberOf(test::ServerReadyMutex{}),
                   "connecter's serverReadyEvent", 9);
        watch.Name((*handler).*MemberOf(test::HandlerServerReady{}).*MemberOf(test::ServerReadyMutex{}),
                   "handler's serverReadyEvent", 9);
        watch.Name(CMMNotificationClient::Instance().*MemberOf(test::CallbackMutex{}), "callbackMutex", 9);
    }

    template <typename Tag> void Name(Tag tag, const char* name, int rank)
    {
        watch.Name((*handler).*MemberOf(tag), name, rank);
    }

    void NameLoop()
    {
        TaskLoop& loop = *((*handler).*MemberOf(test::VolumeTaskLoop{}));
        watch.Name(loop.*MemberOf(test::QueueMutex{}), "queueMutex", 9);
        watch.Name(loop.*MemberOf(test::WaitMutex{}), "waitMutex", 9);
    }

    /// As a switch does that will put the volume back later.
    void LeaveAVolumeTaskPending()
    {
        TaskLoop& loop = *((*handler).*MemberOf(test::VolumeTaskLoop{}));
        // Added without the volume's lock, so that only the module takes the queue's under that.
        const std::uint64_t taskId = loop.PostDelayedTask(3'600'000'000'000, [] {});
        const std::scoped_lock lock((*handler).*MemberOf(test::VolumeMutex{}));
        (*handler).*MemberOf(test::VolumeTaskId{}) = taskId;
    }

    test::Watchdog watchdog{std::chrono::seconds(50)};
    sim::VolumeKeys keys{nullptr};
    test::LockWatch watch{nullptr};
    std::shared_ptr<HeadsetConnector> connecter = std::make_shared<HeadsetConnector>();
    std::shared_ptr<HeadsetAudioFeatureHandler> handler = std::make_shared<HeadsetAudioFeatureHandler>();
};

TEST_F(LockOrder, HoldsThroughADay)
{
    test::Routine day;
    EXPECT_TRUE(connecter->Init());
    EXPECT_TRUE(handler->Init());
    NameLoop();
    day.Run(*connecter, *handler);
    EXPECT_TRUE(handler->Init());
    NameLoop();
    LeaveAVolumeTaskPending();
    EXPECT_TRUE(handler->UnInit());
    connecter->UnInit();

    EXPECT_THAT(watch.Violations(), IsEmpty());
    EXPECT_THAT(watch.Circle(), IsEmpty());
    EXPECT_TRUE(watch.Saw("defaultSetMutex", "endpointMutex"));
    EXPECT_TRUE(watch.Saw("deviceChangeMutex", "defaultSetMutex"));
    EXPECT_TRUE(watch.Saw("featureStateMutex", "defaultSetMutex"));
    EXPECT_TRUE(watch.Saw("volumeMutex", "queueMutex"));
    EXPECT_TRUE(watch.Saw("volumeMutex", "tipMutex"));
    EXPECT_TRUE(watch.Saw("tipMutex", "queueMutex"));
    EXPECT_TRUE(watch.Saw("loopLifeMutex", "volumeMutex"));
    EXPECT_TRUE(watch.Saw("volumeMutex", "endpointMutex"));
}

TEST_F(LockOrder, IsSeenWhenItIsBroken)
{
    ModuleEndpoints& endpoints = ModuleEndpoints::Instance();
    {
        const std::scoped_lock first(endpoints.defaultSetMutex);
        const std::scoped_lock second(endpoints.endpointMutex);
    }
    EXPECT_THAT(watch.Violations(), IsEmpty());
    EXPECT_THAT(watch.Circle(), IsEmpty());
    {
        const std::scoped_lock first(endpoints.endpointMutex);
        const std::scoped_lock second(endpoints.defaultSetMutex);
    }
    EXPECT_THAT(watch.Violations(), ElementsAre("endpointMutex -> defaultSetMutex"));
    EXPECT_EQ(watch.Circle().size(), 3U);
}

TEST_F(LockOrder, IsBrokenByALockUnderALeaf)
{
    std::mutex& leaf = (*handler).*MemberOf(test::CoopMutex{});
    const std::scoped_lock first(leaf);
    const std::scoped_lock second(ModuleEndpoints::Instance().endpointMutex);
    EXPECT_THAT(watch.Violations(), ElementsAre("coopMutex -> endpointMutex"));
    EXPECT_THAT(watch.Circle(), IsEmpty());
}

} // namespace
