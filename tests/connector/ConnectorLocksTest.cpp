// Which of its locks the connecter holds at what it does.
#include "tests/connector/ConnectorFixture.h"
#include "tests/connector/ThreadLibrary.h"
#include "tests/support/ImportPatch.h"

#include <map>
#include <system_error>

EXPOSE_PRIVATE(LocksStatesMutex, &HeadsetConnector::statesMutex);
EXPOSE_PRIVATE(LocksProxyMutex, &HeadsetConnector::proxyMutex);

namespace test
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using VynCore::DeviceState;

/// Notes what one thread does, in order: it takes and releases the locks that are named, and adds to the timeline.
class LockTrace
{
public:
    explicit LockTrace(std::map<const void*, std::string> names)
    {
        names_ = std::move(names);
        steps.clear();
        threadId_ = GetCurrentThreadId();
        sim::Timeline::Instance().SetListener([](const sim::TimelineEntry& entry)
                                              { Note(entry.who + " " + entry.what.substr(0, entry.what.find('('))); });
    }
    ~LockTrace() { sim::Timeline::Instance().SetListener({}); }
    LockTrace(const LockTrace&) = delete;
    LockTrace& operator=(const LockTrace&) = delete;

    inline static std::vector<std::string> steps;

private:
    static void Note(const std::string& step)
    {
        if (GetCurrentThreadId() == threadId_)
        {
            steps.push_back(step);
        }
    }

    static void NoteLock(const char* step, const void* mutex)
    {
        const auto name = names_.find(mutex);
        if (name != names_.end())
        {
            Note(step + name->second);
        }
    }

    static int Lock(void* mutex)
    {
        const int result = originalLock_(mutex);
        NoteLock("+", mutex);
        return result;
    }

    static int Unlock(void* mutex)
    {
        NoteLock("-", mutex);
        return originalUnlock_(mutex);
    }

    inline static std::map<const void*, std::string> names_;
    inline static DWORD threadId_ = 0;
    inline static const MutexCall originalLock_ = ThreadLibraryCall("pthread_mutex_lock");
    inline static const MutexCall originalUnlock_ = ThreadLibraryCall("pthread_mutex_unlock");

    ImportPatch lock_{nullptr, "libwinpthread-1.dll", "pthread_mutex_lock", &Lock};
    ImportPatch unlock_{nullptr, "libwinpthread-1.dll", "pthread_mutex_unlock", &Unlock};
};

class ConnectorLocksTest : public ConnectorTest
{
protected:
    std::map<const void*, std::string> Names()
    {
        return {{&Field<ConnectorMutex>(), "devStats"},
                {&Field<LocksStatesMutex>(), "states"},
                {&Field<LocksProxyMutex>(), "proxy"}};
    }

    template <typename Operation> std::vector<std::string> StepsOf(const Operation& operation)
    {
        const LockTrace trace(Names());
        operation();
        return LockTrace::steps;
    }
};

TEST_F(ConnectorLocksTest, AReportIsOneHoldFromTheLookUpToTheNotification)
{
    EXPECT_THAT(StepsOf([&] { connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connecting); }),
                ElementsAre("+devStats", "+states", "-states",
                            "log3 NotifyConnStateChanged it == devStatsMap.end", // up to its parenthesis
                            "host OnDevConnStateChanged 246813579135 1", "-devStats"));
    EXPECT_THAT(StepsOf([&] { connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connecting); }),
                ElementsAre("+devStats", "+states", "-states",
                            "log3 NotifyConnStateChanged oldStatus=DEV_STATE_CONNECTING",
                            "log3 NotifyConnStateChanged state=DEV_STATE_CONNECTING",
                            "log3 NotifyConnStateChanged oldStatus == state", "-devStats"));
}

TEST_F(ConnectorLocksTest, ALossIsOneHoldToo)
{
    connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connected);
    EXPECT_THAT(StepsOf([&] { connector->DelLostDev(TestDevice()); }),
                ElementsAre("+devStats", "log3 DelLostDev begin", "+states", "-states", "log3 DelLostDev end it**35",
                            "-devStats"));
}

TEST_F(ConnectorLocksTest, ThePostOfARequestIsMadeWithoutALock)
{
    InitAtOnce();
    Field<ConnectorServerWorking>() = true;
    EXPECT_THAT(StepsOf([&] { connector->ConnectDev(TestDevice()); }),
                ElementsAre("+devStats", "+states", "-states", "log3 NotifyConnStateChanged it == devStatsMap.end",
                            "host OnDevConnStateChanged 246813579135 1", "-devStats",
                            "log3 baseInfo.deviceMacAddr=**35 modelId:model subModelId:sub", "+proxy", "-proxy",
                            "ipc PostMsg 12144176 10617842 10616832 {\"ident\",\"246813579135\",\"model\",\"sub\"}"));
    EXPECT_THAT(StepsOf([&] { connector->QueryConnectedDevAsync(); }),
                ElementsAre("log3 QueryConnectedDevAsync Start 0", "log3 QueryConnectedDevAsync Start 1", "+proxy",
                            "-proxy", "ipc PostMsg 12144176 10617841 10616832 \"0\"",
                            "log3 QueryConnectedDevAsync End"));
}

TEST_F(ConnectorLocksTest, AnOldProxyIsDestroyedWithoutALock)
{
    InitAtOnce();
    sim::FaultPlan::Instance().FailCall("IpcProxy::IpcProxy", 1, 1);
    EXPECT_THAT(StepsOf([&] { connector->Init(); }), // takes the new one, which is none, and looks for it
                ElementsAre("ipc IpcProxy 12144176", "+proxy", "-proxy", "ipc ~IpcProxy 12144176", "+proxy", "-proxy"));
}

TEST_F(ConnectorLocksTest, UnInitForgetsWithoutTheReportsLock)
{
    InitAtOnce();
    EXPECT_THAT(StepsOf([&] { connector->UnInit(); }),
                ElementsAre("+proxy", "-proxy", "ipc PostMsg 12144176 10617833 10616832 \"HeadsetAdapterPlugin\"",
                            "+proxy", "-proxy", "ipc UnRegisterMessageCallbackAll 12144176", "+states", "-states"));
}

TEST_F(ConnectorLocksTest, AFailedLockLeavesAnOperationAsASystemError)
{
    {
        const FailingLocks locks;
        EXPECT_THROW(connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connected), std::system_error);
        EXPECT_THROW(connector->DelLostDev(TestDevice()), std::system_error);
        EXPECT_THROW(connector->ConnectDev(TestDevice()), std::system_error);
        EXPECT_THROW(connector->QueryConnectedDevAsync(), std::system_error);
        EXPECT_NO_THROW(connector->UnInit());
    }
    EXPECT_THAT(HostCalls(), IsEmpty());
    EXPECT_THAT(Field<ConnectorStates>(), IsEmpty());
    EXPECT_FALSE(Field<ConnectorIsConnectDev>());
}

} // namespace

} // namespace test
