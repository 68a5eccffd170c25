// The callbacks that the connecter hands to the IPC library: each holds it weakly and lets nothing out.
#include "tests/connector/ConnectorFixture.h"
#include "tests/connector/ThreadLibrary.h"
#include "tests/support/ImportPatch.h"

#include "ipc/IPCMessageClient.h"

#include <map>

namespace test
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

using Callback = IPCMessageClient::MessageCallback;

constexpr std::int32_t published = 0; // the key of the one callback that has no message id

// What is registered is kept here instead of by the IPC library.
std::map<std::int32_t, Callback> registered;

void KeepCallback(IPCMessageClient*, std::int32_t messageId, Callback callback)
{
    registered[messageId] = std::move(callback);
}

void KeepPublishCallback(IPCMessageClient*, Callback callback)
{
    registered[published] = std::move(callback);
}

/// A callback, a message that it refuses without a look at its connecter, and the line of that.
struct Registered
{
    const char* name;
    std::int32_t key;
    const char* line;
};

class ConnectorCallbacks : public ConnectorTest, public testing::WithParamInterface<Registered>
{
protected:
    ConnectorCallbacks()
    {
        registered.clear();
        InitAtOnce();
    }
    ~ConnectorCallbacks() override
    {
        sim::Timeline::Instance().SetListener({});
        registered.clear();
    }

    void CallWithRefused() const
    {
        Message refused(4711, 10617840); // of another module, and without data
        registered.at(GetParam().key)(refused.Item());
    }

    std::weak_ptr<HeadsetConnector> weak = connector;

private:
    ImportPatch message_{nullptr, "QvIpc.dll",
                         "_ZN16IPCMessageClient23RegisterMessageCallbackEiSt8functionIFvRK17TagIPCMessageItemEE",
                         &KeepCallback};
    ImportPatch publish_{nullptr, "QvIpc.dll",
                         "_ZN16IPCMessageClient30RegisterPublishMessageCallbackESt8functionIFvRK17TagIPCMessageItemEE",
                         &KeepPublishCallback};
};

TEST_P(ConnectorCallbacks, DoNotKeepTheConnecterAlive)
{
    EXPECT_EQ(weak.use_count(), 1);
    connector.reset();
    EXPECT_TRUE(weak.expired());
}

TEST_P(ConnectorCallbacks, KeepItAliveWhileTheyRun)
{
    std::vector<long> owners;
    sim::Timeline::Instance().SetListener([&](const sim::TimelineEntry&) { owners.push_back(weak.use_count()); });
    CallWithRefused();
    EXPECT_THAT(LogLines(), ElementsAre(GetParam().line));
    EXPECT_THAT(owners, ElementsAre(2));
    EXPECT_EQ(weak.use_count(), 1);
}

TEST_P(ConnectorCallbacks, DoNothingOnceItIsGone)
{
    connector.reset();
    sim::Timeline::Instance().Clear();
    CallWithRefused();
    EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_P(ConnectorCallbacks, LetNothingOut)
{
    Message message(serviceModule, 10617832, UpdatePayload(5));
    const FailingLocks locks;
    EXPECT_NO_THROW(registered.at(GetParam().key)(message.Item()));
}

INSTANTIATE_TEST_SUITE_P(
    All, ConnectorCallbacks,
    testing::Values(
        Registered{"ConnectState", 10617840, "4 msg is null(HeadsetConnector::OnRecvDeviceConnectStateUpdate)"},
        Registered{"ConnectStateAlso", 10617844, "4 msg is null(HeadsetConnector::OnRecvDeviceConnectStateUpdate)"},
        Registered{"Publish", published, "4 msg is error, module=4711(HeadsetConnector::OnRecvServerStateChanged)"}),
    [](const auto& tested) { return tested.param.name; });

} // namespace

} // namespace test
