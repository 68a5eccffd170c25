// Sequences of calls on three threads, beside the module's own, the platform's and the tips library's. What holds however
// they interleave is looked at when all is quiet again.
#include "native/fuzz/Harness.h"

#include "audio/ModuleEndpoints.h"
#include "connector/HeadsetConnector.h"
#include "feature/HeadsetAudioFeatureHandler.h"
#include "simulator/audio/AudioService.h"
#include "simulator/audio/BluetoothDevices.h"
#include "simulator/host/HostControl.h"
#include "simulator/host/tips/TipsControl.h"
#include "simulator/host/wire/Package.h"
#include "simulator/timeline/FaultPlan.h"
#include "tests/support/PrivateAccess.h"

#if __has_feature(address_sanitizer) // the other sanitizers do not bring it
#include <sanitizer/lsan_interface.h>
#else
static int __lsan_do_recoverable_leak_check() // under the sanitizer's own name
{
    return 0;
}
#endif

#include <array>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

EXPOSE_PRIVATE(Queue, &HeadsetAudioFeatureHandler::coopTaskQueue);
EXPOSE_PRIVATE(CoopMutex, &HeadsetAudioFeatureHandler::coopMutex);
EXPOSE_PRIVATE(CoopRunning, &HeadsetAudioFeatureHandler::coopRunning);
EXPOSE_PRIVATE(PendingEvent, &HeadsetAudioFeatureHandler::pendingEvent);
EXPOSE_PRIVATE(FeatureWorking, &HeadsetAudioFeatureHandler::serverWorking);
EXPOSE_PRIVATE(FeatureReady, &HeadsetAudioFeatureHandler::serverReady);
EXPOSE_PRIVATE(ConnectorWorking, &HeadsetConnector::serverWorking);
EXPOSE_PRIVATE(ConnectorReady, &HeadsetConnector::serverReady);
EXPOSE_PRIVATE(FeatureDropsProxy, &HeadsetAudioFeatureHandler::ReplaceProxy);
EXPOSE_PRIVATE(ConnectorDropsProxy, &HeadsetConnector::ReplaceProxy);
EXPOSE_PRIVATE(ConnectRequested, &HeadsetConnector::IsConnectDev);
EXPOSE_PRIVATE(Loop, &HeadsetAudioFeatureHandler::volumeTaskLoop);
EXPOSE_PRIVATE(TipMutex, &HeadsetAudioFeatureHandler::tipMutex);
EXPOSE_PRIVATE(VolumeTaskId, &HeadsetAudioFeatureHandler::volumeTaskId);
EXPOSE_PRIVATE(VolumeMutex, &HeadsetAudioFeatureHandler::volumeMutex);
EXPOSE_PRIVATE(LoopWakeUp, &TaskLoop::WakeUp);
EXPOSE_PRIVATE(LoopMutex, &TaskLoop::queueMutex);
EXPOSE_PRIVATE(LoopQueue, &TaskLoop::taskQueue);
EXPOSE_PRIVATE(LoopTaskAtHand, &TaskLoop::currentTask);

namespace
{

using namespace std::chrono_literals;

constexpr auto longestUnrest = 60s; // what does not come to rest never does; a machine with other work takes its time
constexpr std::size_t threadCount = 3;
constexpr std::int32_t lost = 12;    // the event of a device that is gone for good
int leakPace = 500;                  // every so many inputs
constexpr std::size_t mostCalls = 8; // as many again would halve the executions a second

/// What is called on one thread, and with what. Plain data.
struct Call
{
    std::uint8_t kind;
    std::uint8_t argument;
    std::string text; // in the place of an address, of names and of models; empty for one that the scene knows
};
using Calls = std::vector<Call>;

/// Threads that wait for work between the inputs, so that none has to be started for one.
class Crew
{
public:
    using Work = std::function<void()>;

    Crew()
    {
        for (std::size_t number = 0; number < members_.size(); ++number)
        {
            std::thread([this, number] { Serve(members_[number]); }).detach();
        }
    }

    /// Runs the first of the works on the calling thread and the others, if any, on the crew's; returns when all have
    /// ended.
    void Run(std::array<Work, threadCount> works)
    {
        for (std::size_t number = 0; number < members_.size(); ++number)
        {
            if (works[number + 1])
            {
                Give(members_[number], std::move(works[number + 1]));
            }
        }
        works[0]();
        for (Member& member : members_)
        {
            std::unique_lock lock(member.mutex);
            member.changed.wait(lock, [&] { return !member.work; });
        }
    }

private:
    struct Member
    {
        std::mutex mutex;
        std::condition_variable changed;
        Work work; // guarded by mutex; none when there is nothing to do, or not any more
    };

    static void Give(Member& member, Work work)
    {
        const std::scoped_lock lock(member.mutex);
        member.work = std::move(work);
        member.changed.notify_all();
    }

    static void Serve(Member& member)
    {
        for (;;)
        {
            Work work;
            {
                std::unique_lock lock(member.mutex);
                member.changed.wait(lock, [&] { return static_cast<bool>(member.work); });
                work = member.work;
            }
            work();
            Give(member, nullptr);
        }
    }

    std::array<Member, threadCount - 1> members_;
};

/// A headset of the scene, by its address and by the key that the module has for it.
struct Headset
{
    const char* address;
    const char* key;
    const char* model;
};
constexpr Headset headsets[] = {{"0A1B2C3D4E5F", "11111822610015", "one"}, {"112233445566", "18838586676582", "two"}};

/// Endpoints of the scene, the speaker first.
constexpr const char* labels[] = {"speaker", "0A1B2C3D4E5F stereo", "0A1B2C3D4E5F hands-free",
                                  "0A1B2C3D4E5F microphone", "112233445566 stereo"};

/// What an input's calls meet.
struct Circumstances
{
    bool isWaitShort;            // whether the module's long waits end at once, or after a millisecond
    bool isBusThere;             // a provider that is started can post to it, though nobody answers
    bool hasServiceAnswered;     // before the first call
    bool areNotificationsAtOnce; // on several threads of the platform, in any order
};

/// Both providers, started, in the middle of everything that calls them.
class Scene
{
public:
    Scene()
    {
        fuzz::ForgetRecords();
        fuzz::ShortenWaits(1);
        AddEndpoints();
        TakeBusAway();
        feature_->Init();
        connector_->Init();
    }

    void Play(const std::array<Calls, threadCount>& parts, const Circumstances& circumstances)
    {
        Prepare(circumstances);
        std::array<Crew::Work, threadCount> works;
        for (std::size_t number = 0; number < threadCount; ++number)
        {
            if (number == 0 || !parts[number].empty())
            {
                works[number] = [this, &part = parts[number]]
                {
                    PlayPart(part);
                };
            }
        }
        crew_.Run(std::move(works));
        ComeToRest();
        Check();
        Tidy();
    }

private:
    static void TakeBusAway() { sim::FaultPlan::Instance().FailCall("IpcProxy::IpcProxy", 0, -1); }

    static void AddEndpoints()
    {
        auto& service = sim::AudioService::Instance();
        static auto* const devices = new sim::BluetoothDevices();
        for (const Headset& headset : headsets)
        {
            devices->AddHeadset(headset.address, sim::HeadsetContainer(headset.address));
        }
        service.AddEndpoint({.label = labels[0], .friendlyName = L"Speaker", .containerId = sim::builtInContainer});
        const GUID one = sim::HeadsetContainer(headsets[0].address);
        service.AddEndpoint({.label = labels[1], .friendlyName = L"Headphones", .containerId = one});
        service.AddEndpoint({.label = labels[2], .friendlyName = L"Headset Hands-Free", .containerId = one});
        service.AddEndpoint({.label = labels[3], .flow = eCapture, .friendlyName = L"Mic", .containerId = one});
        const GUID two = sim::HeadsetContainer(headsets[1].address);
        service.AddEndpoint({.label = labels[4], .friendlyName = L"Headphones", .containerId = two});
    }

    // --- the calls ---

    void PlayPart(const Calls& part)
    {
        for (const Call& call : part)
        {
            Make(call);
        }
    }

    void Make(const Call& call)
    {
        using Step = void (Scene::*)(const Call&);
        static constexpr Step steps[] = {
            &Scene::Update,        &Scene::Enable,       &Scene::Disable,   &Scene::ChangeEndpoint,
            &Scene::ChangeDefault, &Scene::SwitchDevice, &Scene::Answer,    &Scene::LetTimePass,
            &Scene::AskForState,   &Scene::TurnVolume,   &Scene::Connect,   &Scene::Announce,
            &Scene::Mislead,       &Scene::LetFail,      &Scene::StopFirst, &Scene::StopAndStart,
        };
        (this->*steps[call.kind % std::size(steps)])(call);
    }

    static void Tell(const std::vector<sim::PackageItem>& items, const std::function<void(TagIPCMessageItem&)>& receive)
    {
        std::string payload = sim::EncodePackage(items);
        TagIPCMessageItem item{};
        item.moduleId = 10616832;
        item.dataLength = static_cast<std::int32_t>(payload.size());
        item.data = payload.data();
        receive(item);
    }

    void Update(const Call& call)
    {
        static constexpr std::int32_t events[] = {5, 6, 7, 3, lost, 102, 99, 4};
        const bool isAny = !call.text.empty();
        const Headset& headset = headsets[call.argument & 1];
        const std::string key = isAny ? call.text : headset.key;
        const std::string model = isAny ? call.text : headset.model;
        const std::int32_t event = isAny ? call.text[0] : events[(call.argument >> 1) % std::size(events)];
        if (event == lost)
        {
            NoteLoss(model);
        }
        Tell({event, "id", key, call.text, "alias", "group", model, "sub"},
             [&](TagIPCMessageItem& item)
             {
                 if ((call.argument & 64) == 0)
                 {
                     connector_->OnRecvDeviceConnectStateUpdate(item);
                 }
                 if ((call.argument & 128) == 0)
                 {
                     feature_->OnRecvDeviceConnectStateUpdate(item);
                 }
             });
    }

    /// With a text of the input in each field that a request is packed of, at times a long one.
    static void FillIn(VynCore::VynDevice& device, const Call& call)
    {
        if (call.text.empty())
        {
            return;
        }
        constexpr int longTimes = 40;
        std::string text;
        for (int times = (call.argument & 1) != 0 ? longTimes : 1; times > 0; --times)
        {
            text += call.text;
        }
        device.deviceId = text;
        device.baseInfo.deviceMacAddr = text;
        device.bluetoothAddr = text;
        device.modelId = text;
        device.subModelId = call.text;
    }

    static VynCore::VynDevice DeviceOf(const Call& call)
    {
        const Headset& headset = headsets[call.argument & 1];
        VynCore::VynDevice device;
        device.bluetoothAddr = (call.argument & 14) == 14 ? "" : headset.key;
        device.modelId = headset.model;
        device.deviceGroup = "group";
        FillIn(device, call);
        return device;
    }

    void Enable(const Call& call) { feature_->EnableFeature(DeviceOf(call)); }

    void Disable(const Call& call) { feature_->DisableFeature(DeviceOf(call)); }

    void ChangeEndpoint(const Call& call)
    {
        sim::AudioService::Instance().SetState(labels[call.argument % std::size(labels)],
                                               1U << ((call.argument >> 4) & 3));
    }

    void ChangeDefault(const Call& call)
    {
        try
        {
            sim::AudioService::Instance().SetDefault(labels[call.argument % std::size(labels)],
                                                     static_cast<ERole>((call.argument >> 4) % 3));
        }
        catch (const std::invalid_argument&) // it is not active at the moment
        {
        }
    }

    void SwitchDevice(const Call& call)
    {
        const std::string key = (call.argument & 2) != 0 ? call.text : headsets[call.argument & 1].key;
        const std::string name = call.text.empty() ? "Phone" : call.text;
        Tell({1, name, "Headset", key}, [&](TagIPCMessageItem& item) { feature_->OnRecvDeviceChange(item); });
    }

    void Answer(const Call& call)
    {
        sim::TipReply reply = {.event = (call.argument & 2) != 0 ? 3 : 9,
                               .param = (call.argument & 4) != 0 ? L"firstBtn" : L"secondBtn"};
        if (!call.text.empty())
        {
            reply = {.event = call.text[0], .param = std::wstring(call.text.begin(), call.text.end())};
        }
        if ((call.argument & 8) != 0)
        {
            sim::TipsControl::SetAnswerInsideShow(reply);
        }
        else if ((call.argument & 1) != 0)
        {
            sim::TipsControl::Answer(reply);
        }
        else
        {
            sim::TipsControl::AnswerHere(reply);
        }
    }

    void LetTimePass(const Call& call)
    {
        fuzz::PutClockForward((call.argument & 1) != 0 ? 1001 : 400);
        WakeLoop([] {});
    }

    void AskForState(const Call& call)
    {
        const std::string key = DeviceOf(call).bluetoothAddr;
        if ((call.argument & 16) != 0)
        {
            feature_->CheckDefaultAudioDeviceState(key);
            return;
        }
        const VynCore::DevFeatureStateInfo info = feature_->GetFeatureState(key);
        fuzz::Require(info.featureId == 9 && (info.state == 0 || info.state == 3), "the state given");
    }

    void TurnVolume(const Call& call)
    {
        sim::AudioService::Instance().SetVolume(labels[0], static_cast<float>(call.argument) / 255.0F);
    }

    void Connect(const Call& call)
    {
        const VynCore::VynDevice device = DeviceOf(call);
        if ((call.argument & 16) != 0)
        {
            connector_->ConnectDev(device);
        }
        else if ((call.argument & 32) != 0)
        {
            connector_->QueryConnectedDevAsync();
        }
        else
        {
            connector_->NotifyConnStateChanged(device, static_cast<VynCore::DeviceState>((call.argument >> 6) % 3));
        }
    }

    void Announce(const Call& call)
    {
        TagIPCMessageItem item{};
        item.moduleId = 10616832;
        item.messageId = 10617832 + (call.argument & 1);
        connector_->OnRecvServerStateChanged(item);
        feature_->OnRecvServerStateChanged(item);
    }

    /// Notifications of what is not so.
    void Mislead(const Call& call)
    {
        auto& service = sim::AudioService::Instance();
        const char* const label = labels[call.argument % std::size(labels)];
        if ((call.argument & 16) != 0)
        {
            service.NotifyDefaultDeviceChanged(eRender, static_cast<ERole>((call.argument >> 5) % 3), label);
        }
        else
        {
            service.NotifyDeviceStateChanged(label, 1U << (call.argument >> 5));
        }
    }

    void LetFail(const Call& call)
    {
        static constexpr const char* prefixes[] = {"IMM",
                                                   "IPolicyConfig",
                                                   "CoCreateInstance",
                                                   "IPropertyStore",
                                                   "OrbTipsManager::CreateTips",
                                                   "IAudioEndpointVolume"};
        sim::FaultPlan::Instance().FailNthOf(prefixes[call.argument % std::size(prefixes)], 1U + (call.argument >> 4),
                                             E_FAIL);
        hasFailed_ = true;
    }

    /// The host starts and stops the providers one thread at a time.
    void StopFirst(const Call& call)
    {
        if ((call.argument & 3) != 0)
        {
            return AskForState(call); // starting and stopping takes long: not often
        }
        const std::scoped_lock lock(lifeMutex_);
        wasStopped_ = true;
        feature_->UnInit();
        ++stops_;
        connector_->UnInit();
    }

    void StopAndStart(const Call& call)
    {
        if ((call.argument & 3) != 0)
        {
            return LetTimePass(call);
        }
        const std::scoped_lock lock(lifeMutex_);
        if ((call.argument & 4) == 0)
        {
            wasStopped_ = true;
            feature_->UnInit();
        }
        feature_->Init();
        connector_->Init();
    }

    // --- before and after ---

    void NoteLoss(const std::string& model)
    {
        const std::scoped_lock lock(lossesMutex_);
        ++losses_[model];
    }

    void Prepare(const Circumstances& circumstances)
    {
        fuzz::SetLongestWait(circumstances.isWaitShort ? 0 : 1);
        stops_ = 0;
        wasStopped_ = false;
        losses_.clear();
        hasFailed_ = false;
        isBusThere_ = circumstances.isBusThere;
        if (!isBusThere_)
        {
            TakeBusAway();
        }
        // Neither is ever taken back by the module.
        (*feature_).*MemberOf(test::FeatureWorking{}) = circumstances.hasServiceAnswered;
        (*connector_).*MemberOf(test::ConnectorWorking{}) = circumstances.hasServiceAnswered;
        (*connector_).*MemberOf(test::ConnectRequested{}) = false;
        if (std::exchange(areNotificationsAtOnce_, circumstances.areNotificationsAtOnce) !=
            circumstances.areNotificationsAtOnce) // it costs threads
        {
            sim::AudioService::Instance().SetDelivery(areNotificationsAtOnce_ ? sim::Delivery::Concurrent
                                                                              : sim::Delivery::InTurn);
        }
        sim::FaultPlan::Instance().FailCall("TipsBase::SetAutoClose", 0, 1); // see the tip's target
    }

    bool WakeLoop(std::function<void()> task) const
    {
        const std::scoped_lock lock((*feature_).*MemberOf(test::TipMutex{}));
        const std::unique_ptr<TaskLoop>& loop = (*feature_).*MemberOf(test::Loop{});
        return loop && loop->PostTask(std::move(task)) != 0;
    }

    bool IsStopped() const
    {
        const std::unique_ptr<TaskLoop>& loop = (*feature_).*MemberOf(test::Loop{});
        return !((*feature_).*MemberOf(test::CoopRunning{})) || !loop || !loop->IsRunning();
    }

    template <typename Condition> static void Await(const Condition& holds, const char* what)
    {
        const auto end = std::chrono::steady_clock::now() + longestUnrest;
        for (int looks = 0; !holds(); ++looks)
        {
            fuzz::Require(std::chrono::steady_clock::now() < end, what);
            if (looks > 20)
            {
                std::this_thread::sleep_for(50us);
            }
            else
            {
                std::this_thread::yield();
            }
        }
    }

    TaskLoop& Loop() const { return *((*feature_).*MemberOf(test::Loop{})); }

    bool IsLoopIdle() const
    {
        const std::scoped_lock lock(Loop().*MemberOf(test::LoopMutex{}));
        return (Loop().*MemberOf(test::LoopQueue{})).empty() && Loop().*MemberOf(test::LoopTaskAtHand{}) == nullptr;
    }

    /// Everything that the loop has to do is done, and what it posts while it does. A signal that comes when the loop is
    /// about to sleep is lost, hence more than one.
    void EmptyLoop() const
    {
        fuzz::PutClockForward(1001);
        const auto isIdle = [this]
        {
            (Loop().*MemberOf(test::LoopWakeUp{}))();
            return IsLoopIdle();
        };
        if (!IsLoopIdle())
        {
            Await(isIdle, "the loop comes to an end");
        }
    }

    bool IsWorkerIdle() const
    {
        const std::scoped_lock lock((*feature_).*MemberOf(test::CoopMutex{}));
        return ((*feature_).*MemberOf(test::Queue{})).empty() && !((*feature_).*MemberOf(test::PendingEvent{}));
    }

    void ComeToRest()
    {
        if (IsStopped())
        {
            RequireNoRestore(); // a start forgets one
            feature_->Init();
        }
        fuzz::Require(sim::TipsControl::WaitForNoCallback(longestUnrest), "the tips' answers come to an end");
        sim::TipsControl::SetAnswerInsideShow(std::nullopt);
        EmptyLoop();
        if (wasStopped_)
        {
            // The worker may still carry out what a stop took out of the queue: what it is given now comes after that.
            VynCore::VynDevice nobodys;
            nobodys.bluetoothAddr = "nobody's";
            feature_->DisableFeature(nobodys);
        }
        Await([this] { return IsWorkerIdle(); }, "the worker comes to an end");
        fuzz::Require(sim::AudioService::Instance().WaitForIdle(longestUnrest), "notifications come to an end");
    }

    void RequireNoRestore() const
    {
        const std::scoped_lock lock((*feature_).*MemberOf(test::VolumeMutex{}));
        fuzz::Require((*feature_).*MemberOf(test::VolumeTaskId{}) == 0, "no restore is left");
    }

    void Check() const
    {
        const sim::AudioService& service = sim::AudioService::Instance();
        // But for the enumerator that the notifications are registered with, which is never released.
        const std::map<std::string, std::size_t> kept = {{"MMDeviceEnumerator", 1}};
        Await([&] { return service.LiveObjects() == kept && service.LiveMemory() == 0; },
              "nothing of the audio service is kept");
        RequireNoRestore();
        fuzz::Require(sim::TipsControl::Tips() <= 1, "one tip at a time");
        CheckReports();
        CheckLeaks();
    }

    /// Now and then. The sanitizer at times does not know where the storage of a thread that is alive is, and takes for lost
    /// what that holds: the loop's has an object with a destructor there. So there is another look with another thread for
    /// the loop, and libFuzzer's own check, after one look, is switched off.
    void CheckLeaks() const
    {
        constexpr int mostLooks = 4;
        static int calls = 0;
        if (++calls % leakPace != 0)
        {
            return;
        }
        int looks = 0;
        while (__lsan_do_recoverable_leak_check() != 0)
        {
            fuzz::Require(++looks < mostLooks, "nothing is lost");
            feature_->UnInit();
            feature_->Init();
        }
    }

    void CheckReports() const
    {
        for (const sim::FeatureStateReport& report : sim::HostControl::Instance().FeatureStateReports())
        {
            fuzz::Require(report.info.featureId == 9 && (report.info.state == 0 || report.info.state == 3),
                          "the state reported");
        }
        CheckChanges();
    }

    /// A state is reported again only when the connecter was made to forget it: as often as that.
    void CheckChanges() const
    {
        std::map<std::string, VynCore::DeviceState> last;
        std::map<std::string, unsigned> repeats;
        for (const sim::ConnStateReport& report : sim::HostControl::Instance().ConnStateReports())
        {
            const auto [known, isFirst] = last.try_emplace(report.device.modelId, report.state);
            repeats[report.device.modelId] += !isFirst && known->second == report.state ? 1 : 0;
            known->second = report.state;
        }
        for (const auto& [model, count] : repeats)
        {
            const auto losses = losses_.find(model);
            fuzz::Require(count <= stops_ + (losses == losses_.end() ? 0 : losses->second),
                          "what is reported is a change");
        }
    }

    void ForgetDevice(const std::string& model)
    {
        VynCore::VynDevice device;
        device.modelId = model;
        device.deviceGroup = "group";
        connector_->DelLostDev(device);
    }

    void Tidy()
    {
        for (const sim::ConnStateReport& report : sim::HostControl::Instance().ConnStateReports())
        {
            ForgetDevice(report.device.modelId);
        }
        fuzz::ForgetRecords();
        sim::TipsControl::Reset();
        ((*feature_).*MemberOf(test::FeatureDropsProxy{}))(nullptr);
        ((*connector_).*MemberOf(test::ConnectorDropsProxy{}))(nullptr);
        ((*feature_).*MemberOf(test::FeatureReady{})).Close();
        ((*connector_).*MemberOf(test::ConnectorReady{})).Close();
        auto& service = sim::AudioService::Instance();
        for (const char* const label : labels)
        {
            if (service.State(label) != DEVICE_STATE_ACTIVE)
            {
                service.SetState(label, DEVICE_STATE_ACTIVE);
            }
        }
        service.SetDefault(labels[0]); // in all roles
        service.SetVolume(labels[0], 0.8F);
        fuzz::Require(service.WaitForIdle(longestUnrest), "notifications come to an end");
        if (hasFailed_)
        {
            ModuleEndpoints::Instance().Fill();
        }
        fuzz::ForgetRecords();
    }

    const std::shared_ptr<HeadsetAudioFeatureHandler> feature_ = std::make_shared<HeadsetAudioFeatureHandler>();
    const std::shared_ptr<HeadsetConnector> connector_ = std::make_shared<HeadsetConnector>();
    Crew crew_;
    std::mutex lifeMutex_;
    std::mutex lossesMutex_;
    std::map<std::string, unsigned> losses_; // by model, guarded by lossesMutex_ while calls are made
    std::atomic<unsigned> stops_ = 0;
    std::atomic<bool> hasFailed_ = false;
    std::atomic<bool> wasStopped_ = false;
    bool isBusThere_ = false; // this and the next of the fuzzer's thread alone
    bool areNotificationsAtOnce_ = false;
};

} // namespace

/// libFuzzer's own check for leaks is switched off, see CheckLeaks. With inputs that are named on the command line, each is
/// looked at: there are not many, and one of them is what somebody wants to see again.
extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments)
{
    static std::vector<char*> all(*arguments, *arguments + *count);
    static char noLeakDetection[] = "-detect_leaks=0";
    for (const char* const argument : all)
    {
        std::error_code unused;
        if (argument != all.front() && std::filesystem::is_regular_file(argument, unused))
        {
            leakPace = 1;
        }
    }
    all.push_back(noLeakDetection);
    all.push_back(nullptr);
    *count = static_cast<int>(all.size()) - 1;
    *arguments = all.data();
    return 0;
}

/// Input: a byte for the circumstances; then calls: a byte for the thread, the kind and whether a text follows, one for the
/// argument, and the text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static auto* const scene = new Scene(); // never destroyed: its threads are there to the end
    fuzz::Input input(bytes, size);
    const std::uint8_t first = input.Byte();
    const Circumstances circumstances = {.isWaitShort = (first & 1) == 0,
                                         .isBusThere = (first & 2) != 0,
                                         .hasServiceAnswered = (first & 4) != 0,
                                         .areNotificationsAtOnce = (first & 24) == 24};
    std::array<Calls, threadCount> parts;
    for (std::size_t left = mostCalls; left > 0 && !input.IsAtEnd(); --left)
    {
        const std::uint8_t head = input.Byte();
        const auto kind = static_cast<std::uint8_t>(head & 15);
        const std::uint8_t argument = input.Byte();
        const bool hasText = head >= 0xC0;
        parts[(head >> 4) % threadCount].push_back({kind, argument, hasText ? input.Text() : std::string()});
    }
    scene->Play(parts, circumstances);
    return 0;
}
