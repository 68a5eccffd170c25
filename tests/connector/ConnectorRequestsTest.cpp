// Init, UnInit and the host's requests: what goes to the service, and the waits for it.
#include "tests/connector/ConnectorFixture.h"
#include "tests/support/ImportPatch.h"

#include "device/IpcProxy.h"
#include "device/VynTypes.h"
#include "ipc/IPCMessageClient.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace test
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using VynCore::DeviceState;

// Waits for the service's announcement are noted, and answered at once.
std::vector<DWORD> waits;
DWORD waitResult = WAIT_TIMEOUT;
decltype(&WaitForSingleObject) originalWait = nullptr;

DWORD WINAPI NoteWait(HANDLE handle, DWORD ms)
{
    if (ms == INFINITE)
    {
        return originalWait(handle, ms);
    }
    waits.push_back(ms);
    return waitResult;
}

class ConnectorRequestsTest : public ConnectorTest
{
protected:
    ConnectorRequestsTest()
    {
        originalWait = wait.Original<std::remove_pointer_t<decltype(originalWait)>>();
        waits.clear();
        waitResult = WAIT_TIMEOUT;
    }

    ImportPatch wait{nullptr, "KERNEL32.dll", "WaitForSingleObject", &NoteWait};
};

TEST_F(ConnectorRequestsTest, InitRegistersInItsOrderAndWaitsForTheService)
{
    EXPECT_FALSE(connector->Init());
    EXPECT_THAT(OwnEntries(), ElementsAre("ipc IpcProxy 12144176", "ipc RegisterMessageCallback 12144176 10617840",
                                          "ipc RegisterMessageCallback 12144176 10617844",
                                          "ipc RegisterPublishMessageCallback 12144176",
                                          "ipc SubscribeIPCMessage 12144176 10616832 10617832",
                                          "ipc SubscribeIPCMessage 12144176 10616832 10617833",
                                          "log4 CreateEvent. ret=1(HeadsetConnector::Init)",
                                          "ipc PostMsg 12144176 10617832 10616832 \"HeadsetAdapterPlugin\"",
                                          "ipc PostMsg 12144176 10617834 10616832 \"\"",
                                          "log3 HeadsetConnector, serverWorking=0(HeadsetConnector::Init)",
                                          "log3 wait failed: 258(HeadsetConnector::Init)"));
    EXPECT_THAT(waits, ElementsAre(3000U));
}

TEST_F(ConnectorRequestsTest, AFailedWaitIsLogged)
{
    waitResult = WAIT_FAILED;
    EXPECT_FALSE(connector->Init());
    EXPECT_THAT(LogLines(), ElementsAre("4 CreateEvent. ret=1(HeadsetConnector::Init)",
                                        "3 HeadsetConnector, serverWorking=0(HeadsetConnector::Init)",
                                        "3 wait failed: 4294967295(HeadsetConnector::Init)"));
}

TEST_F(ConnectorRequestsTest, InitTellsTheFlagAndNotTheWait)
{
    waitResult = WAIT_OBJECT_0; // such as for an announcement that the service is not working
    EXPECT_FALSE(connector->Init());
    EXPECT_THAT(LogLines(), ElementsAre("4 CreateEvent. ret=1(HeadsetConnector::Init)",
                                        "3 HeadsetConnector, serverWorking=0(HeadsetConnector::Init)"));
    Field<ConnectorServerWorking>() = true;
    waitResult = WAIT_TIMEOUT;
    EXPECT_TRUE(connector->Init());
}

TEST_F(ConnectorRequestsTest, InitWithoutAProxyGivesUpAtOnce)
{
    sim::FaultPlan::Instance().FailCall("IpcProxy::IpcProxy", 1, 1);
    EXPECT_FALSE(connector->Init());
    EXPECT_THAT(OwnEntries(), ElementsAre("ipc IpcProxy 12144176"));
    EXPECT_THAT(waits, IsEmpty());
    EXPECT_FALSE(HasEvent());
}

TEST_F(ConnectorRequestsTest, InitGetsAlongWithoutAnIpcClient)
{
    sim::FaultPlan::Instance().FailAll("IpcProxy::GetIpcClient", 1);
    EXPECT_FALSE(connector->Init());
    connector->UnInit();
    EXPECT_THAT(OwnEntries(), ElementsAre("ipc IpcProxy 12144176", "log4 CreateEvent. ret=1(HeadsetConnector::Init)",
                                          "ipc PostMsg 12144176 10617832 10616832 \"HeadsetAdapterPlugin\"",
                                          "ipc PostMsg 12144176 10617834 10616832 \"\"",
                                          "log3 HeadsetConnector, serverWorking=0(HeadsetConnector::Init)",
                                          "log3 wait failed: 258(HeadsetConnector::Init)",
                                          "ipc PostMsg 12144176 10617833 10616832 \"HeadsetAdapterPlugin\""));
}

TEST_F(ConnectorRequestsTest, InitDoesNotCareForResultsOfTheIpcLibrary)
{
    sim::FaultPlan::Instance().FailAll("IPCMessageClient::SubscribeIPCMessage", 1);
    sim::FaultPlan::Instance().FailAll("IpcProxy::PostMsg", 1);
    waitResult = WAIT_OBJECT_0;
    EXPECT_FALSE(connector->Init());
    EXPECT_THAT(OwnEntries(), ElementsAre("ipc IpcProxy 12144176", "ipc RegisterMessageCallback 12144176 10617840",
                                          "ipc RegisterMessageCallback 12144176 10617844",
                                          "ipc RegisterPublishMessageCallback 12144176",
                                          "ipc SubscribeIPCMessage 12144176 10616832 10617832",
                                          "ipc SubscribeIPCMessage 12144176 10616832 10617833",
                                          "log4 CreateEvent. ret=1(HeadsetConnector::Init)",
                                          "ipc PostMsg 12144176 10617832 10616832 \"HeadsetAdapterPlugin\"",
                                          "ipc PostMsg 12144176 10617834 10616832 \"\"",
                                          "log3 HeadsetConnector, serverWorking=0(HeadsetConnector::Init)"));
    EXPECT_THAT(waits, ElementsAre(3000U));
}

HANDLE WINAPI NoEvent(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCWSTR)
{
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

TEST_F(ConnectorRequestsTest, InitWithoutAnEventDoesNotWait)
{
    const ImportPatch create(nullptr, "KERNEL32.dll", "CreateEventW", &NoEvent);
    EXPECT_FALSE(connector->Init());
    EXPECT_THAT(LogLines(), ElementsAre("4 CreateEvent. ret=0(HeadsetConnector::Init)"));
    EXPECT_THAT(waits, IsEmpty());
    EXPECT_EQ(connector->QueryConnectedDevAsync(), 0);
    EXPECT_THAT(waits, IsEmpty());
}

TEST_F(ConnectorRequestsTest, ARepeatedInitKeepsTheEventAndMakesANewProxy)
{
    connector->Init();
    sim::Timeline::Instance().Clear();
    EXPECT_FALSE(connector->Init());
    EXPECT_THAT(OwnEntries(), ElementsAre("ipc IpcProxy 12144176", "ipc ~IpcProxy 12144176",
                                          "ipc RegisterMessageCallback 12144176 10617840",
                                          "ipc RegisterMessageCallback 12144176 10617844",
                                          "ipc RegisterPublishMessageCallback 12144176",
                                          "ipc SubscribeIPCMessage 12144176 10616832 10617832",
                                          "ipc SubscribeIPCMessage 12144176 10616832 10617833",
                                          "ipc PostMsg 12144176 10617832 10616832 \"HeadsetAdapterPlugin\"",
                                          "ipc PostMsg 12144176 10617834 10616832 \"\"",
                                          "log3 HeadsetConnector, serverWorking=0(HeadsetConnector::Init)",
                                          "log3 wait failed: 258(HeadsetConnector::Init)"));
}

TEST_F(ConnectorRequestsTest, UnInitTakesLeaveAndForgets)
{
    connector->Init();
    connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connected);
    sim::Timeline::Instance().Clear();
    connector->UnInit();
    EXPECT_THAT(OwnEntries(), ElementsAre("ipc PostMsg 12144176 10617833 10616832 \"HeadsetAdapterPlugin\"",
                                          "ipc UnRegisterMessageCallbackAll 12144176"));
    EXPECT_FALSE(HasEvent());
    EXPECT_THAT(Field<ConnectorStates>(), IsEmpty());
}

// The steps of UnInit: at each, whether the event is still there and how many states are.
HeadsetConnector* leaving = nullptr;
std::vector<std::string> leaveSteps;
decltype(&CloseHandle) originalClose = nullptr;

void NoteLeaveStep(const std::string& step)
{
    const std::size_t states = (leaving->*MemberOf(ConnectorStates{})).size();
    leaveSteps.push_back(step + " " + std::to_string(states));
}

bool NoteLeavePost(VynCore::IpcProxy*, std::int32_t messageId, std::int32_t, const std::string&)
{
    NoteLeaveStep("post " + std::to_string(messageId));
    return false;
}

bool NoteDropping(IPCMessageClient*)
{
    NoteLeaveStep("drop callbacks");
    return false; // not obeyed
}

BOOL WINAPI NoteClose(HANDLE handle)
{
    NoteLeaveStep("close");
    return originalClose(handle);
}

TEST_F(ConnectorRequestsTest, UnInitForgetsTheStatesLast)
{
    connector->Init();
    connector->NotifyConnStateChanged(TestDevice(), DeviceState::Connected);
    leaving = connector.get();
    leaveSteps.clear();
    {
        const ImportPatch post(nullptr, "VynDeviceSdk.dll",
                               "_ZN7VynCore8IpcProxy7PostMsgEiiRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
                               &NoteLeavePost);
        const ImportPatch drop(nullptr, "QvIpc.dll", "_ZN16IPCMessageClient28UnRegisterMessageCallbackAllEv",
                               &NoteDropping);
        const ImportPatch close(nullptr, "KERNEL32.dll", "CloseHandle", &NoteClose);
        originalClose = close.Original<std::remove_pointer_t<decltype(originalClose)>>();
        connector->UnInit();
    }
    EXPECT_THAT(leaveSteps, ElementsAre("post 10617833 1", "drop callbacks 1", "close 1"));
    EXPECT_FALSE(HasEvent());
    EXPECT_THAT(Field<ConnectorStates>(), IsEmpty());
}

BOOL WINAPI TellClose(HANDLE handle)
{
    sim::Timeline::Instance().Add("test", "CloseHandle");
    return originalClose(handle);
}

TEST_F(ConnectorRequestsTest, ItEndsWithItsProxyFirst)
{
    connector->Init();
    sim::Timeline::Instance().Clear();
    const ImportPatch close(nullptr, "KERNEL32.dll", "CloseHandle", &TellClose);
    originalClose = close.Original<std::remove_pointer_t<decltype(originalClose)>>();
    connector.reset(); // a handler that is running ends while the event is still there
    EXPECT_THAT(OwnEntries(), ElementsAre("ipc ~IpcProxy 12144176", "test CloseHandle"));
}

TEST_F(ConnectorRequestsTest, UnInitMayBeRepeatedAndComeWithoutInit)
{
    connector->UnInit();
    EXPECT_THAT(OwnEntries(), IsEmpty());
    connector->Init();
    connector->UnInit();
    sim::Timeline::Instance().Clear();
    connector->UnInit();
    EXPECT_THAT(OwnEntries(), ElementsAre("ipc PostMsg 12144176 10617833 10616832 \"HeadsetAdapterPlugin\"",
                                          "ipc UnRegisterMessageCallbackAll 12144176"));
}

TEST_F(ConnectorRequestsTest, InitAfterUnInitMakesTheEventAnew)
{
    connector->Init();
    connector->UnInit();
    sim::Timeline::Instance().Clear();
    connector->Init();
    EXPECT_EQ(sim::Timeline::Instance().Count("log4", "CreateEvent. ret=1(HeadsetConnector::Init)"), 1U);
    EXPECT_TRUE(HasEvent());
}

TEST_F(ConnectorRequestsTest, ConnectDevReportsConnectingBeforeItSends)
{
    connector->Init();
    sim::Timeline::Instance().Clear();
    EXPECT_EQ(connector->ConnectDev(TestDevice()), 0);
    EXPECT_THAT(
        OwnEntries(),
        ElementsAre("log3 NotifyConnStateChanged it == devStatsMap.end() "
                    "devStatsMap[devItem]=DEV_STATE_CONNECTING(HeadsetConnector::NotifyConnStateChanged)",
                    "host OnDevConnStateChanged 246813579135 1",
                    "log3 baseInfo.deviceMacAddr=**35 modelId:model subModelId:sub(HeadsetConnector::ConnectDev)",
                    "ipc PostMsg 12144176 10617842 10616832 {\"ident\",\"246813579135\",\"model\",\"sub\"}"));
    EXPECT_TRUE(Field<ConnectorIsConnectDev>());
}

TEST_F(ConnectorRequestsTest, ConnectDevWithoutAProxySendsNothing)
{
    EXPECT_EQ(connector->ConnectDev(TestDevice()), 0);
    EXPECT_THAT(sim::Timeline::Instance().Texts("ipc"), IsEmpty());
    EXPECT_THAT(HostCalls(), ElementsAre("OnDevConnStateChanged 246813579135 1"));
    EXPECT_TRUE(Field<ConnectorIsConnectDev>());
}

TEST_F(ConnectorRequestsTest, ConnectDevSendsWhatFitsIntoTheBuffer)
{
    connector->Init();
    sim::Timeline::Instance().Clear();
    VynCore::VynDevice device = TestDevice();
    device.deviceId = std::string(2000, 'x');
    connector->ConnectDev(device);
    EXPECT_THAT(sim::Timeline::Instance().Texts("ipc"),
                ElementsAre("PostMsg 12144176 10617842 10616832 {\"246813579135\",\"model\",\"sub\"}"));
}

/// A device whose connect request has that many bytes.
VynCore::VynDevice DeviceWithRequestOf(std::size_t size)
{
    VynCore::VynDevice device = TestDevice();
    device.deviceId.clear();
    device.deviceId.resize(size - sim::EncodePackage({"", "246813579135", "model", "sub"}).size(), 'x');
    return device;
}

// The lengths of the requests that are posted.
std::vector<std::int32_t> requestLengths;

bool NoteRequestLength(VynCore::IpcProxy*, std::int32_t, std::int32_t, const char*, std::int32_t length)
{
    requestLengths.push_back(length);
    return true;
}

TEST_F(ConnectorRequestsTest, ARequestHasRoomForAThousandAndTwentyFourBytes)
{
    connector->Init();
    requestLengths.clear();
    const ImportPatch post(nullptr, "VynDeviceSdk.dll", "_ZN7VynCore8IpcProxy7PostMsgEiiPKci", &NoteRequestLength);
    connector->ConnectDev(DeviceWithRequestOf(1024));
    connector->ConnectDev(DeviceWithRequestOf(1025)); // without its last item, which has eight bytes
    EXPECT_THAT(requestLengths, ElementsAre(1024, 1017));
}

TEST_F(ConnectorRequestsTest, ConnectDevDoesNotCountFailedItems)
{
    connector->Init();
    sim::Timeline::Instance().Clear();
    sim::FaultPlan::Instance().FailAll("QvIpcPackage::PacketString", -5);
    connector->ConnectDev(TestDevice());
    EXPECT_THAT(sim::Timeline::Instance().Texts("ipc"), ElementsAre("PostMsg 12144176 10617842 10616832 [0 bytes]"));
}

// The order of a connect request's steps: whether it counted as sent when the host and the service got it.
HeadsetConnector* requesting = nullptr;
std::vector<std::string> requestSteps;

void NoteRequestStep(const std::string& step)
{
    const bool isSent = requesting->*MemberOf(ConnectorIsConnectDev{});
    requestSteps.push_back(step + (isSent ? " 1" : " 0"));
}

bool NoteRequestPost(VynCore::IpcProxy*, std::int32_t messageId, std::int32_t, const char*, std::int32_t)
{
    NoteRequestStep("post " + std::to_string(messageId));
    return true;
}

TEST_F(ConnectorRequestsTest, ConnectDevCountsAsSentOnlyAfterThePost)
{
    connector->Init();
    requesting = connector.get();
    requestSteps.clear();
    sim::HostControl::Instance().SetConnStateHook([](const auto&, auto) { NoteRequestStep("report"); });
    const ImportPatch post(nullptr, "VynDeviceSdk.dll", "_ZN7VynCore8IpcProxy7PostMsgEiiPKci", &NoteRequestPost);
    connector->ConnectDev(TestDevice());
    NoteRequestStep("end");
    EXPECT_THAT(requestSteps, ElementsAre("report 0", "post 10617842 0", "end 1"));
}

TEST_F(ConnectorRequestsTest, ASecondConnectDevIsSentAgainButNotReportedAgain)
{
    connector->Init();
    connector->ConnectDev(TestDevice());
    sim::Timeline::Instance().Clear();
    EXPECT_EQ(connector->ConnectDev(TestDevice()), 0);
    EXPECT_THAT(
        OwnEntries(),
        ElementsAre("log3 NotifyConnStateChanged oldStatus=DEV_STATE_CONNECTING"
                    "(HeadsetConnector::NotifyConnStateChanged)",
                    "log3 NotifyConnStateChanged state=DEV_STATE_CONNECTING(HeadsetConnector::NotifyConnStateChanged)",
                    "log3 NotifyConnStateChanged oldStatus == state(HeadsetConnector::NotifyConnStateChanged)",
                    "log3 baseInfo.deviceMacAddr=**35 modelId:model subModelId:sub(HeadsetConnector::ConnectDev)",
                    "ipc PostMsg 12144176 10617842 10616832 {\"ident\",\"246813579135\",\"model\",\"sub\"}"));
}

TEST_F(ConnectorRequestsTest, ThatTheServiceWorksSurvivesUnInitAndInit)
{
    connector->Init();
    Announce(10617832);
    connector->UnInit();
    EXPECT_TRUE(Field<ConnectorServerWorking>());
    sim::Timeline::Instance().Clear();
    EXPECT_TRUE(connector->Init());
    EXPECT_THAT(LogLines(), ElementsAre("4 CreateEvent. ret=1(HeadsetConnector::Init)",
                                        "3 HeadsetConnector, serverWorking=1(HeadsetConnector::Init)",
                                        "3 wait failed: 258(HeadsetConnector::Init)"));
}

TEST_F(ConnectorRequestsTest, ARepeatedInitThatGetsNoProxyFailsAndDropsTheOldOne)
{
    connector->Init();
    Announce(10617832);
    sim::Timeline::Instance().Clear();
    sim::FaultPlan::Instance().FailCall("IpcProxy::IpcProxy", 1, 1);
    EXPECT_FALSE(connector->Init()); // although the service works
    EXPECT_THAT(OwnEntries(), ElementsAre("ipc IpcProxy 12144176", "ipc ~IpcProxy 12144176"));
    sim::Timeline::Instance().Clear();
    connector->QueryConnectedDevAsync();
    connector->UnInit();
    EXPECT_THAT(sim::Timeline::Instance().Texts("ipc"), IsEmpty());
}

TEST_F(ConnectorRequestsTest, AQueryWaitsForTheServiceAndAsksNevertheless)
{
    connector->Init();
    sim::Timeline::Instance().Clear();
    waits.clear();
    EXPECT_EQ(connector->QueryConnectedDevAsync(), 0);
    EXPECT_THAT(OwnEntries(),
                ElementsAre("log3 QueryConnectedDevAsync Start 0(HeadsetConnector::QueryConnectedDevAsync)",
                            "log3 serverWorking=0(HeadsetConnector::QueryConnectedDevAsync)",
                            "log3 wait failed: 258(HeadsetConnector::QueryConnectedDevAsync)",
                            "log3 QueryConnectedDevAsync Start 1(HeadsetConnector::QueryConnectedDevAsync)",
                            "ipc PostMsg 12144176 10617841 10616832 \"0\"",
                            "log3 QueryConnectedDevAsync End(HeadsetConnector::QueryConnectedDevAsync)"));
    EXPECT_THAT(waits, ElementsAre(3000U));
}

TEST_F(ConnectorRequestsTest, AQueryDoesNotWaitForAServiceThatWorks)
{
    connector->Init();
    Field<ConnectorServerWorking>() = true;
    sim::Timeline::Instance().Clear();
    waits.clear();
    EXPECT_EQ(connector->QueryConnectedDevAsync(), 0);
    EXPECT_THAT(OwnEntries(),
                ElementsAre("log3 QueryConnectedDevAsync Start 0(HeadsetConnector::QueryConnectedDevAsync)",
                            "log3 QueryConnectedDevAsync Start 1(HeadsetConnector::QueryConnectedDevAsync)",
                            "ipc PostMsg 12144176 10617841 10616832 \"0\"",
                            "log3 QueryConnectedDevAsync End(HeadsetConnector::QueryConnectedDevAsync)"));
    EXPECT_THAT(waits, IsEmpty());
}

TEST_F(ConnectorRequestsTest, AQueryBeforeInitNeitherWaitsNorAsks)
{
    EXPECT_EQ(connector->QueryConnectedDevAsync(), 0);
    EXPECT_THAT(OwnEntries(),
                ElementsAre("log3 QueryConnectedDevAsync Start 0(HeadsetConnector::QueryConnectedDevAsync)",
                            "log3 QueryConnectedDevAsync Start 1(HeadsetConnector::QueryConnectedDevAsync)",
                            "log3 QueryConnectedDevAsync End(HeadsetConnector::QueryConnectedDevAsync)"));
    EXPECT_THAT(waits, IsEmpty());
}

TEST_F(ConnectorTest, InitWithoutAServiceFailsAfterThreeSeconds)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(connector->Init());
    EXPECT_GE(std::chrono::steady_clock::now() - start, 2999ms); // the wait counts in whole milliseconds
}

} // namespace

} // namespace test
