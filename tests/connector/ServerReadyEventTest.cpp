// The event that announcements signal: whom it wakes, and when that one goes on.
#include "connector/ServerReadyEvent.h"
#include "connector/HeadsetConnector.h"
#include "simulator/timeline/Timeline.h"
#include "tests/connector/ConnectorFixture.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/LogLines.h"
#include "tests/support/PrivateAccess.h"

#include "device/IpcProxy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <type_traits>

EXPOSE_PRIVATE(ReadyHasSettled, &ServerReadyEvent::hasSettled_);
EXPOSE_PRIVATE(ReadyConnectorProxy, &HeadsetConnector::ipcProxy);

namespace test
{

namespace
{

using testing::ElementsAre;

/// Tells when a waiter of one event has been woken and waits for the announcement to be settled.
class SettleWatch
{
public:
    explicit SettleWatch(ServerReadyEvent& event)
    {
        condition = &(event.*MemberOf(ReadyHasSettled{}));
        original = patch_.Original<ConditionWait>();
        waits = 0;
    }

    static bool AwaitWaiter()
    {
        const auto limit = std::chrono::steady_clock::now() + generousLimit;
        while (waits == 0 && std::chrono::steady_clock::now() < limit)
        {
            std::this_thread::yield();
        }
        return waits > 0;
    }

private:
    using ConditionWait = void(void*, std::unique_lock<std::mutex>&);

    static void NoteWait(void* waited, std::unique_lock<std::mutex>& lock)
    {
        if (waited == condition)
        {
            ++waits;
        }
        original(waited, lock);
    }

    inline static void* condition = nullptr;
    inline static std::atomic<int> waits{0};
    inline static ConditionWait* original = nullptr;

    ImportPatch patch_{nullptr, "libstdc++-6.dll", "_ZNSt18condition_variable4waitERSt11unique_lockISt5mutexE",
                       &NoteWait};
};

TEST(ServerReadyEvent, IsThereOnceItIsMade)
{
    OwnedHandle handle;
    ServerReadyEvent event(handle);
    EXPECT_EQ(event.Wait(0), std::nullopt);
    EXPECT_EQ(event.CreateIfMissing(), true);
    EXPECT_EQ(event.CreateIfMissing(), std::nullopt);
    EXPECT_EQ(event.Wait(0), 258U);
    event.Close();
    EXPECT_EQ(event.Wait(0), std::nullopt);
    EXPECT_EQ(event.CreateIfMissing(), true);
}

TEST(ServerReadyEvent, AWaiterGoesOnOnlyWhenTheAnnouncementHasTakenEffect)
{
    OwnedHandle handle;
    ServerReadyEvent event(handle);
    event.CreateIfMissing();
    const SettleWatch watch(event);
    std::future<std::optional<DWORD>> wait; // ends after the announcement
    const ServerReadyEvent::Announcement announcement(event);
    wait = std::async(std::launch::async, [&] { return event.Wait(20'000); });
    EXPECT_TRUE(SettleWatch::AwaitWaiter());
    EXPECT_EQ(wait.wait_for(0ms), std::future_status::timeout);
    event.Settle();
    ASSERT_EQ(wait.wait_for(generousLimit), std::future_status::ready);
    EXPECT_EQ(wait.get(), 0U);
}

TEST(ServerReadyEvent, AnAnnouncementThatNobodySettlesIsSettledAtItsEnd)
{
    OwnedHandle handle;
    ServerReadyEvent event(handle);
    event.CreateIfMissing();
    const SettleWatch watch(event);
    std::future<std::optional<DWORD>> wait; // ends after the announcement
    std::optional<ServerReadyEvent::Announcement> announcement;
    announcement.emplace(event);
    wait = std::async(std::launch::async, [&] { return event.Wait(20'000); });
    EXPECT_TRUE(SettleWatch::AwaitWaiter());
    announcement.reset();
    ASSERT_EQ(wait.wait_for(generousLimit), std::future_status::ready);
    EXPECT_EQ(wait.get(), 0U);
}

TEST(ServerReadyEvent, AWaitIsOfAHandleOfItsOwn)
{
    OwnedHandle handle;
    ServerReadyEvent event(handle);
    event.CreateIfMissing();
    const SettleWatch watch(event);
    std::future<std::optional<DWORD>> wait; // ends after the announcement
    const ServerReadyEvent::Announcement announcement(event);
    wait = std::async(std::launch::async, [&] { return event.Wait(20'000); });
    EXPECT_TRUE(SettleWatch::AwaitWaiter());
    event.Close();
    event.Settle();
    ASSERT_EQ(wait.wait_for(generousLimit), std::future_status::ready);
    EXPECT_EQ(wait.get(), 0U);
}

BOOL WINAPI NoCopy(HANDLE, HANDLE, HANDLE, LPHANDLE, DWORD, BOOL, DWORD)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
}

TEST(ServerReadyEvent, AWaitWithoutAHandleOfItsOwnFails)
{
    OwnedHandle handle;
    ServerReadyEvent event(handle);
    event.CreateIfMissing();
    const ImportPatch patch(nullptr, "KERNEL32.dll", "DuplicateHandle", &NoCopy);
    EXPECT_EQ(event.Wait(20'000), 4294967295U);
}

class ConnectorWaitTest : public ConnectorTest
{
protected:
    ~ConnectorWaitTest() override { connector.reset(); }

    /// As after an Init, without its wait.
    void GetReady()
    {
        Field<ReadyConnectorProxy>() = std::make_shared<VynCore::IpcProxy>(12144176);
        Field<ConnectorEvent>().CreateIfMissing();
        sim::Timeline::Instance().Clear();
    }
};

TEST_F(ConnectorWaitTest, AFailedWaitIsLoggedByInitAndByAQuery)
{
    const ImportPatch patch(nullptr, "KERNEL32.dll", "DuplicateHandle", &NoCopy);
    EXPECT_FALSE(connector->Init());
    connector->QueryConnectedDevAsync();
    EXPECT_THAT(LogLines(), ElementsAre("4 CreateEvent. ret=1(HeadsetConnector::Init)",
                                        "3 HeadsetConnector, serverWorking=0(HeadsetConnector::Init)",
                                        "3 wait failed: 4294967295(HeadsetConnector::Init)",
                                        "3 QueryConnectedDevAsync Start 0(HeadsetConnector::QueryConnectedDevAsync)",
                                        "3 serverWorking=0(HeadsetConnector::QueryConnectedDevAsync)",
                                        "3 wait failed: 4294967295(HeadsetConnector::QueryConnectedDevAsync)",
                                        "3 QueryConnectedDevAsync Start 1(HeadsetConnector::QueryConnectedDevAsync)",
                                        "3 QueryConnectedDevAsync End(HeadsetConnector::QueryConnectedDevAsync)"));
}

TEST_F(ConnectorWaitTest, AQueryGoesOnOnlyWhenTheAnnouncementHasTakenEffect)
{
    GetReady();
    const SettleWatch watch(Field<ConnectorEvent>());
    std::future<std::int32_t> query; // ends after the announcement
    const ServerReadyEvent::Announcement announcement(Field<ConnectorEvent>());
    query = std::async(std::launch::async, [&] { return connector->QueryConnectedDevAsync(); });
    EXPECT_TRUE(SettleWatch::AwaitWaiter());
    EXPECT_THAT(LogLines(), ElementsAre("3 QueryConnectedDevAsync Start 0(HeadsetConnector::QueryConnectedDevAsync)"));
    connector->AmbrelServerInitSuccess(10617832);
    ASSERT_EQ(query.wait_for(generousLimit), std::future_status::ready);
    EXPECT_THAT(LogLinesOf({"HeadsetConnector::QueryConnectedDevAsync"}),
                ElementsAre("3 QueryConnectedDevAsync Start 0(HeadsetConnector::QueryConnectedDevAsync)",
                            "3 serverWorking=1(HeadsetConnector::QueryConnectedDevAsync)",
                            "3 QueryConnectedDevAsync Start 1(HeadsetConnector::QueryConnectedDevAsync)",
                            "3 QueryConnectedDevAsync End(HeadsetConnector::QueryConnectedDevAsync)"));
}

// A post of a text, such as the answer to an announcement, that the IPC library does not finish until it may.
struct Stall
{
    std::promise<void> entered;
    std::promise<void> mayGoOn;
};
Stall* stall = nullptr;

bool StalledPost(VynCore::IpcProxy*, std::int32_t, std::int32_t, const std::string&)
{
    stall->entered.set_value();
    stall->mayGoOn.get_future().wait();
    return true;
}

TEST_F(ConnectorWaitTest, IsNotProlongedByAnAnswerThatHangs)
{
    GetReady();
    Stall post;
    stall = &post;
    const ImportPatch patch(nullptr, "VynDeviceSdk.dll",
                            "_ZN7VynCore8IpcProxy7PostMsgEiiRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
                            &StalledPost);
    auto announce = std::async(std::launch::async, [&] { Announce(10617832); });
    ASSERT_EQ(post.entered.get_future().wait_for(generousLimit), std::future_status::ready);
    auto wait = std::async(std::launch::async, [&] { return Field<ConnectorEvent>().Wait(3000); });
    EXPECT_EQ(wait.wait_for(generousLimit), std::future_status::ready);
    EXPECT_EQ(announce.wait_for(0ms), std::future_status::timeout);
    EXPECT_TRUE(Field<ConnectorServerWorking>());
    post.mayGoOn.set_value();
    EXPECT_EQ(wait.get(), 0U);
}

// A wait for the service, and a pause, that last until they may end.
decltype(&WaitForSingleObject) waitBehindTheStall = nullptr;

DWORD WINAPI StalledWait(HANDLE handle, DWORD ms)
{
    if (ms != 3000)
    {
        return waitBehindTheStall(handle, ms);
    }
    stall->entered.set_value();
    stall->mayGoOn.get_future().wait();
    return waitBehindTheStall(handle, 0);
}

TEST_F(ConnectorWaitTest, OfAQueryIsNotDisturbedByUnInit)
{
    GetReady();
    Stall wait;
    stall = &wait;
    const ImportPatch patch(nullptr, "KERNEL32.dll", "WaitForSingleObject", &StalledWait);
    waitBehindTheStall = patch.Original<std::remove_pointer_t<decltype(waitBehindTheStall)>>();
    auto query = std::async(std::launch::async, [&] { return connector->QueryConnectedDevAsync(); });
    ASSERT_EQ(wait.entered.get_future().wait_for(generousLimit), std::future_status::ready);
    auto unInit = std::async(std::launch::async, [&] { connector->UnInit(); });
    EXPECT_EQ(unInit.wait_for(generousLimit), std::future_status::ready);
    EXPECT_FALSE(HasEvent());
    wait.mayGoOn.set_value();
    ASSERT_EQ(query.wait_for(generousLimit), std::future_status::ready);
    EXPECT_EQ(query.get(), 0);
    EXPECT_THAT(LogLinesOf({"HeadsetConnector::QueryConnectedDevAsync"}),
                ElementsAre("3 QueryConnectedDevAsync Start 0(HeadsetConnector::QueryConnectedDevAsync)",
                            "3 serverWorking=0(HeadsetConnector::QueryConnectedDevAsync)",
                            "3 wait failed: 258(HeadsetConnector::QueryConnectedDevAsync)", // its handle is still good
                            "3 QueryConnectedDevAsync Start 1(HeadsetConnector::QueryConnectedDevAsync)",
                            "3 QueryConnectedDevAsync End(HeadsetConnector::QueryConnectedDevAsync)"));
}

void WINAPI StalledPause(DWORD ms)
{
    EXPECT_EQ(ms, 1000U);
    stall->entered.set_value();
    stall->mayGoOn.get_future().wait();
}

TEST_F(ConnectorWaitTest, APauseAfterAConnectRequestIsNotDisturbedByUnInit)
{
    GetReady();
    Stall pause;
    stall = &pause;
    Field<ConnectorIsConnectDev>() = true;
    const ImportPatch patch(nullptr, "KERNEL32.dll", "Sleep", &StalledPause);
    auto update = std::async(std::launch::async, [&] { Receive(6); });
    ASSERT_EQ(pause.entered.get_future().wait_for(generousLimit), std::future_status::ready);
    auto unInit = std::async(std::launch::async, [&] { connector->UnInit(); });
    EXPECT_EQ(unInit.wait_for(generousLimit), std::future_status::ready);
    pause.mayGoOn.set_value();
    ASSERT_EQ(update.wait_for(generousLimit), std::future_status::ready);
    EXPECT_EQ(sim::Timeline::Instance().Count("ipc", "UnRegisterMessageCallbackAll 12144176"), 1U);
}

} // namespace

} // namespace test
