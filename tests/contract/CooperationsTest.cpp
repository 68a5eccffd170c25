// Cooperations that meet one another, a stop or a host that fails; and what the module's calls leave behind.
#include "tests/contract/ContractTest.h"
#include "tests/support/DecoratedNames.h"
#include "tests/support/ImportPatch.h"

#include "device/IProvider.h"
#include "logger/QvLogger.h"

#include <windows.h>

#include <atomic>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace test
{

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

class Cooperations : public ContractTest
{
protected:
    using ContractTest::ContractTest;

    static std::size_t CountOf(const std::string& operation, const std::string& text)
    {
        return sim::Timeline::Instance().Count("log3", Text(operation, text));
    }

    static bool WaitForLooks(std::size_t count)
    {
        return WaitFor("log3", Text("CooperateThreadFunc", "Download wait...0"), count);
    }
};

/// What is not confirmed is given up at once.
class ShortCooperations : public Cooperations
{
protected:
    ShortCooperations() : Cooperations(Waits()) {}

    static WatchedWaits::Lengths Waits()
    {
        auto lengths = ShortWaits();
        lengths[10000] = 20;
        return lengths;
    }
};

std::atomic<bool> isMemoryShort = false;

std::string Shortened(const std::string& serial)
{
    if (isMemoryShort)
    {
        throw std::bad_alloc();
    }
    return serial;
}

TEST_F(ShortCooperations, GivenUpOnceEvenIfTheHostFails)
{
    Start();
    const ImportPatch patch(module.Handle(), "AccessoryBase.dll", imported::getLastTwoSerialNumber, &Shortened);
    int waitsForConfirmation = 0; // of the worker alone, as are all these waits
    waits->SetHook([&](DWORD length) { isMemoryShort = length == 10000 && ++waitsForConfirmation == 1; });
    EXPECT_EQ(Handler().DisableFeature(Device(otherMac)), 0); // of a headset that nothing is known of
    ASSERT_TRUE(WaitForLooks(1));
    EXPECT_EQ(Handler().DisableFeature(Device(mac)), 0);
    ASSERT_TRUE(WaitForLooks(2));
    EXPECT_THAT(HostCalls(), ElementsAre("host OnFeatureStateChanged 18838586676582 9 0",
                                         "host OnFeatureStateChanged 11111822610015 9 0"));
    EXPECT_EQ(CountOf("SetDefaultPoint", "SetDefaultPoint Begin"), 2U);
    waits->SetHook({});
}

using LogLine = void(QvLogger*, LOG_MESSAGE_LEVEL, std::wstringstream&);
LogLine* originalLog = nullptr;
std::function<void(const std::wstring&)> afterLine; // runs on the logging thread

void LogAndGoOn(QvLogger* logger, LOG_MESSAGE_LEVEL level, std::wstringstream& line)
{
    originalLog(logger, level, line);
    afterLine(line.str());
}

/// A confirmation that has erased its task is held up until the worker, which gave that task up meanwhile, waits for the
/// confirmation of the next one.
class LateConfirmation : public ShortCooperations
{
protected:
    LateConfirmation()
    {
        afterLine = [this](const std::wstring& line)
        {
            if (line.starts_with(L"ui Release DownloadTask") && !hasErased_.exchange(true))
            {
                erased_.set_value();
                EXPECT_EQ(nextIsAwaited_.get_future().wait_for(longWait), std::future_status::ready);
            }
        };
        originalLog = patch_.Original<LogLine>();
    }

    ~LateConfirmation() override { waits->SetHook({}); }

    void HoldUp()
    {
        waits->SetHook(
            [this, changesMayGoOn = changesMayGoOn_.get_future().share()](DWORD length)
            {
                if (length == 100 && hasErased_)
                {
                    changesMayGoOn.wait(); // nothing else confirms anything
                }
                else if (length == 10000)
                {
                    OnWorkersWait();
                }
            });
    }

    void LetChangesGoOn() { changesMayGoOn_.set_value(); }

private:
    void OnWorkersWait()
    {
        switch (++workersWaits_)
        {
        case 1:
            EXPECT_EQ(erased_.get_future().wait_for(longWait), std::future_status::ready);
            break;
        case 2:
            nextIsAwaited_.set_value();
            EXPECT_TRUE(WaitFor("log3", Text("DeviceStateChanged", "DeviceStateChanged -- end: ")));
            break;
        default:
            break;
        }
    }

    std::promise<void> erased_;
    std::promise<void> nextIsAwaited_;
    std::promise<void> changesMayGoOn_;
    std::atomic<bool> hasErased_ = false;
    int workersWaits_ = 0; // of the worker alone
    const ImportPatch patch_{module.Handle(), "QvLogger.dll", imported::logStream, &LogAndGoOn};
};

TEST_F(LateConfirmation, DoesNotEndTheWaitOfTheHeadsetsNextCooperation)
{
    Start();
    AddHeadset();
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    HoldUp();
    EXPECT_EQ(Handler().DisableFeature(Device(mac)), 0);
    EXPECT_EQ(Handler().EnableFeature(Device(mac)), 0);
    EXPECT_TRUE(WaitForLooks(2));
    EXPECT_EQ(CountOf("CooperateThreadFunc", "CooperateThreadFunc WAIT_TIMEOUT, waitResult:258"), 2U);
    EXPECT_EQ(CountOf("SetDefaultPoint", "SetDefaultPoint Begin"), 2U);
    LetChangesGoOn();
    EXPECT_TRUE(WaitForIdle());
}

std::function<void()> beforeEvent = [] {
};

HANDLE WINAPI CreateEventAfter(LPSECURITY_ATTRIBUTES security, BOOL manualReset, BOOL initialState, LPCWSTR name)
{
    beforeEvent();
    return CreateEventW(security, manualReset, initialState, name);
}

/// Two requests at once: the second has found nothing in the queue and is about to queue its enable when the first
/// queues the same. Neither is carried out before both are in.
class RequestsAtOnce : public Cooperations
{
protected:
    RequestsAtOnce()
    {
        Start();
        AddHeadset();
        EXPECT_TRUE(WaitForIdle());
        ClearTimeline();
        waits->SetHook(
            [mayCarryOut = mayCarryOut_.get_future().share()](DWORD length)
            {
                if (length == 500)
                {
                    mayCarryOut.wait();
                }
            });
        beforeEvent = [this]
        {
            if (!isFirstIn_.exchange(true))
            {
                EXPECT_EQ(Handler().EnableFeature(Device(mac)), 0);
            }
        };
    }
    ~RequestsAtOnce() override { waits->SetHook({}); }

    void ExpectOneCooperation()
    {
        mayCarryOut_.set_value();
        ASSERT_TRUE(WaitForTasks());
        EXPECT_EQ(CountOf("SetDefaultPoint", "SetDefaultPoint Begin"), 1U);
        EXPECT_EQ(CountOf("IsTaskInQueue", "ui SetEvent packageName: **15 target:3"), 0U);
        EXPECT_EQ(Handler().EnableFeature(Device(otherMac)), 0); // it comes next, not a second one of the first
        ASSERT_TRUE(WaitForTasks(2));
        EXPECT_EQ(CountOf("SetDefaultPoint", "SetDefaultPoint Begin"), 2U);
        EXPECT_EQ(CountOf("CooperateThreadFunc", "Current Download end :**15"), 1U);
    }

private:
    std::promise<void> mayCarryOut_;
    std::atomic<bool> isFirstIn_ = false;
    const ImportPatch patch_{module.Handle(), "KERNEL32.dll", "CreateEventW", &CreateEventAfter};
};

TEST_F(RequestsAtOnce, EnablesAreQueuedOnce)
{
    EXPECT_EQ(Handler().EnableFeature(Device(mac)), 0);
    EXPECT_EQ(CountOf("EnableFeature", "EnableFeature --task in queue"), 1U);
    ExpectOneCooperation();
}

TEST_F(RequestsAtOnce, ConnectEventAndEnableAreQueuedOnce)
{
    Tell(Event::connected);
    ASSERT_TRUE(WaitFor("ipc", "delivered 12144177 10617840"));
    EXPECT_EQ(CountOf("OnRecvDeviceConnectStateUpdate", "OnRecvDeviceConnectStateUpdate --task in queue"), 1U);
    ExpectOneCooperation();
}

TEST_F(Cooperations, ServicesMessagesHoldTheHandlerWhileTheyAreDealtWith)
{
    Start();
    const std::weak_ptr<VynCore::IProvider> handler = Handler().weak_from_this();
    const long shares = handler.use_count();
    std::map<std::string, long> sharesAt;
    sim::Timeline::Instance().SetListener([&](const sim::TimelineEntry& entry)
                                          { sharesAt.emplace(entry.what, handler.use_count()); });
    Tell(Event::disconnected);
    service->SendConnectState(10617844, Event::lost, headset);
    service->SendDeviceChange(1, "to", "from", mac);
    service->Publish(10616832, 10617833);
    ASSERT_TRUE(WaitFor("ipc", "delivered 12144177 10617833"));
    sim::Timeline::Instance().SetListener({});
    EXPECT_EQ(sharesAt[Text("OnRecvDeviceConnectStateUpdate", "evType=3")], shares + 1);
    EXPECT_EQ(sharesAt[Text("OnRecvDeviceConnectStateUpdate", "evType=12")], shares + 1);
    EXPECT_EQ(sharesAt[Text("OnRecvDeviceChange", "SwitchEvType=1")], shares + 1);
    EXPECT_EQ(sharesAt[Text("OnRecvServerStateChanged", "msg.messageId=10617833,serverWorking=1")], shares + 1);
    EXPECT_EQ(handler.use_count(), shares);
}

TEST_F(Cooperations, ServicesLibraryGetsNoException)
{
    Start();
    AddHeadset();
    Audio().SetDefault("headset stereo");
    ASSERT_TRUE(WaitForIdle());
    ClearTimeline();
    Host().SetFeatureStateHook([](const auto&, const auto&) { throw std::runtime_error("the host's own trouble"); });
    Tell(Event::connected); // reported at once, since the headset has the audio
    service->SendConnectState(10617844, Event::connected, headset);
    ASSERT_TRUE(WaitFor("ipc", "delivered 12144177 10617840"));
    ASSERT_TRUE(WaitFor("ipc", "delivered 12144177 10617844"));
    // Of the messages' thread alone: the notifications of the hands-free endpoints are reported, too.
    const std::string report = "host OnFeatureStateChanged 11111822610015 9 3";
    EXPECT_THAT(Story({"host"}, ThreadOf("ipc", "deliver 12144177 10617840")), ElementsAre(report, report));
    EXPECT_THAT(Story({"ipc"}), Not(Contains("ipc callback of 12144177 threw")));
}

#ifndef _MSC_VER // there the module has the allocation functions inside, and imports none

std::atomic<std::uint32_t> countedThread = 0;
std::atomic<int> liveArrays = 0;

void* (*originalNew)(std::size_t) = nullptr;
void (*originalDelete)(void*) = nullptr;

void* CountingNew(std::size_t size)
{
    liveArrays += countedThread == GetCurrentThreadId() ? 1 : 0;
    return originalNew(size);
}

void CountingDelete(void* memory)
{
    liveArrays -= memory != nullptr && countedThread == GetCurrentThreadId() ? 1 : 0;
    originalDelete(memory);
}

/// The module's copies of endpoint ids, which are all the arrays that it makes.
class IdCopies : public Cooperations
{
protected:
    IdCopies()
    {
        originalNew = new_.Original<void*(std::size_t)>();
        originalDelete = delete_.Original<void(void*)>();
        Start();
        AddHeadset();
        EXPECT_TRUE(WaitForIdle());
    }
    ~IdCopies() override { countedThread = 0; }

private:
    static constexpr bool isSizeLong = std::is_same_v<std::size_t, unsigned long>;
    const ImportPatch new_{module.Handle(), "libstdc++-6.dll", isSizeLong ? "_Znam" : "_Znay", &CountingNew};
    const ImportPatch delete_{module.Handle(), "libstdc++-6.dll", "_ZdaPv", &CountingDelete};
};

TEST_F(IdCopies, AreFreedByEveryQuestion)
{
    Audio().SetDefault("headset stereo");
    ASSERT_TRUE(WaitForIdle());
    countedThread = GetCurrentThreadId();
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
    EXPECT_EQ(Handler().GetFeatureState(otherMac).state, 0);
    EXPECT_EQ(liveArrays, 0);
    EXPECT_EQ(Handler().EnableFeature(Device(mac)), 0); // it has the audio
    EXPECT_EQ(liveArrays, 0);
    Audio().SetDefault("speaker");
    ASSERT_TRUE(WaitForIdle());
    EXPECT_EQ(Handler().GetFeatureState(mac).state, 0);
    EXPECT_EQ(liveArrays, 0);
}

#endif

} // namespace

} // namespace test
