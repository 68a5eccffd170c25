// Messages of the connectivity service, as raw bytes, through both providers' handlers. What has to come of them is
// worked out here from the bytes, by a reader of its own.
#include "native/fuzz/Harness.h"

#include "audio/ModuleEndpoints.h"
#include "connector/HeadsetConnector.h"
#include "feature/HeadsetAudioFeatureHandler.h"
#include "simulator/audio/AudioService.h"
#include "simulator/host/HostControl.h"
#include "tests/support/PrivateAccess.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

EXPOSE_PRIVATE(ConnectorWorking, &HeadsetConnector::serverWorking);
EXPOSE_PRIVATE(ConnectRequested, &HeadsetConnector::IsConnectDev);
EXPOSE_PRIVATE(ConnectorStates, &HeadsetConnector::devStatsMap);
EXPOSE_PRIVATE(FeatureWorking, &HeadsetAudioFeatureHandler::serverWorking);
EXPOSE_PRIVATE(Queue, &HeadsetAudioFeatureHandler::coopTaskQueue);
EXPOSE_PRIVATE(SavedVolume, &HeadsetAudioFeatureHandler::defaultSpeakerVolume);

namespace
{

constexpr std::size_t mostMessages = 6;
constexpr float startVolume = 0.8F;
constexpr float loweredVolume = 0.32F;
constexpr float exactly = 0.0005F;

/// What a message holds: an integer, and then texts, up to the first item that is none of that kind.
struct Payload
{
    explicit Payload(const std::string& bytes) : bytes_(bytes) {}

    std::int32_t Integer()
    {
        const auto value = Head(1);
        return value ? static_cast<std::int32_t>(*value) : 0;
    }

    std::string Text()
    {
        const auto length = Head(2);
        if (!length || *length > bytes_.size() - at_)
        {
            at_ = bytes_.size();
            return {};
        }
        at_ += *length;
        return bytes_.substr(at_ - *length, *length);
    }

private:
    std::optional<std::uint32_t> Head(unsigned char tag)
    {
        if (bytes_.size() - at_ < 5 || static_cast<unsigned char>(bytes_[at_]) != tag)
        {
            at_ = bytes_.size();
            return std::nullopt;
        }
        std::uint32_t value = 0;
        for (std::size_t byte = 4; byte >= 1; --byte)
        {
            value = value << 8 | static_cast<unsigned char>(bytes_[at_ + byte]);
        }
        at_ += 5;
        return value;
    }

    const std::string& bytes_;
    std::size_t at_ = 0;
};

enum class Kind
{
    ConnectorUpdate,
    FeatureUpdate,
    DeviceChange,
    ConnectorServer,
    FeatureServer,
    Count,
};

/// One message, and the circumstances in which it comes.
struct Message
{
    Kind kind;
    bool isAfterConnectRequest;
    std::int32_t moduleId;
    std::int32_t messageId;
    std::int32_t dataLength;
    bool hasData;
    std::string bytes;

    /// The bytes that the handler may look at; none when it has to refuse the message.
    std::optional<std::string> Told() const
    {
        const bool hasPayload = hasData && dataLength >= 1;
        return hasPayload ? std::optional(bytes.substr(0, static_cast<std::size_t>(dataLength))) : std::nullopt;
    }
};

Message ReadMessage(fuzz::Input& input, bool isLast)
{
    Message message{};
    message.kind = static_cast<Kind>(input.Pick(static_cast<std::size_t>(Kind::Count)));
    const std::uint8_t flags = input.Byte();
    message.isAfterConnectRequest = (flags & 1) != 0;
    message.moduleId = (flags & 2) != 0 ? static_cast<std::int32_t>(input.Number()) : 0xA20000;
    message.messageId = (flags & 4) != 0 ? static_cast<std::int32_t>(input.Number()) : 0xA203E8;
    message.hasData = (flags & 8) == 0;
    message.bytes = isLast ? input.Rest() : input.Text();
    message.dataLength = static_cast<std::int32_t>(message.bytes.size());
    if ((flags & 16) != 0) // there is more than is told
    {
        message.dataLength = std::min(message.dataLength, static_cast<std::int32_t>(flags >> 5) * 8);
    }
    else if ((flags & 32) != 0)
    {
        message.dataLength = -message.dataLength - 1;
    }
    return message;
}

/// What the providers have to make of the messages.
class Expectation
{
public:
    struct Report
    {
        std::string deviceId, mac, name, group, model, subModel;
        VynCore::DeviceState state;
    };

    std::vector<Report> reports;
    std::map<std::pair<std::string, std::string>, VynCore::DeviceState> states; // by model and group
    std::vector<std::string> enables;
    std::uint64_t sleptMs = 0;
    float volume = startVolume;
    float savedVolume = -1.0F;
    bool connectorWorking = false;
    bool featureWorking = false;

    void Take(const Message& message, bool isConnectRequestOpen)
    {
        switch (message.kind)
        {
        case Kind::ConnectorUpdate:
            return TakeConnectorUpdate(message, isConnectRequestOpen);
        case Kind::FeatureUpdate:
            return TakeFeatureUpdate(message);
        case Kind::DeviceChange:
            return TakeDeviceChange(message);
        case Kind::ConnectorServer:
            connectorWorking |= message.moduleId == 10616832 && message.messageId == 10617832;
            return;
        default:
            featureWorking |= message.moduleId == 10616832 && message.messageId == 10617832;
        }
    }

private:
    static std::optional<VynCore::DeviceState> StateOf(std::int32_t event)
    {
        switch (event)
        {
        case 5:
        case 6:
        case 102:
            return VynCore::DeviceState::Connected;
        case 3:
        case 4:
        case 7:
        case 101:
            return VynCore::DeviceState::Disconnected;
        default:
            return std::nullopt;
        }
    }

    void TakeConnectorUpdate(const Message& message, bool isConnectRequestOpen)
    {
        const auto bytes = message.Told();
        if (!bytes)
        {
            return;
        }
        Payload payload(*bytes);
        const std::int32_t event = payload.Integer();
        std::vector<std::string> texts;
        for (int count = 0; count < 7; ++count)
        {
            texts.push_back(payload.Text());
        }
        const std::pair<std::string, std::string> key(texts[5], texts[4]);
        if (event == 12)
        {
            states.erase(key);
            return;
        }
        if (isConnectRequestOpen && (event == 6 || event == 7))
        {
            sleptMs += 1000;
        }
        const auto state = StateOf(event);
        const auto known = states.find(key);
        if (state && (known == states.end() || known->second != *state))
        {
            states[key] = *state;
            reports.push_back({texts[0], texts[1], texts[2], texts[4], texts[5], texts[6], *state});
        }
    }

    void TakeFeatureUpdate(const Message& message)
    {
        const auto bytes = message.Told();
        if (!bytes)
        {
            return;
        }
        Payload payload(*bytes);
        const std::int32_t event = payload.Integer();
        payload.Text();
        const std::string mac = payload.Text();
        if (mac.empty() || (event != 5 && event != 6))
        {
            return;
        }
        sleptMs += 800;
        if (std::find(enables.begin(), enables.end(), mac) == enables.end())
        {
            enables.push_back(mac);
        }
    }

    void TakeDeviceChange(const Message& message)
    {
        const auto bytes = message.Told();
        if (!bytes)
        {
            return;
        }
        Payload payload(*bytes);
        payload.Integer();
        payload.Text();
        payload.Text();
        if (!payload.Text().empty())
        {
            savedVolume = volume;
            volume = loweredVolume;
        }
    }
};

/// The providers, neither of them started, beside a built-in speaker.
class Stage
{
public:
    Stage()
    {
        fuzz::ForgetRecords();
        fuzz::ShortenWaits(0);
        EndpointRecord speaker;
        speaker.devicePwszAllID = sim::AudioService::Instance().AddEndpoint({.label = "speaker"});
        const std::wstring container = L"{00000000-0000-0000-FFFF-FFFFFFFFFFFF}";
        std::copy(container.begin(), container.end(), speaker.containerId);
        ModuleEndpoints::Instance().endpointList[speaker.devicePwszAllID] = speaker;
    }

    void Play(const std::vector<Message>& messages)
    {
        sim::AudioService::Instance().SetVolume("speaker", startVolume);
        connector_ = std::make_shared<HeadsetConnector>();
        feature_ = std::make_shared<HeadsetAudioFeatureHandler>();
        const fuzz::Slept before = fuzz::SleptSoFar();
        Expectation expected;
        for (const Message& message : messages)
        {
            Deliver(message, expected);
        }
        expected.sleptMs += before.milliseconds;
        Check(expected);
        connector_.reset();
        feature_.reset();
        fuzz::RequireNothingKept();
        fuzz::ForgetRecords();
    }

private:
    void Deliver(const Message& message, Expectation& expected)
    {
        auto& isConnectRequestOpen = (*connector_).*MemberOf(test::ConnectRequested{});
        isConnectRequestOpen = isConnectRequestOpen || message.isAfterConnectRequest;
        expected.Take(message, isConnectRequestOpen);

        std::vector<char> payload(message.bytes.begin(), message.bytes.end()); // of just that size
        TagIPCMessageItem item{};
        item.moduleId = message.moduleId;
        item.messageId = message.messageId;
        item.dataLength = message.dataLength;
        item.data = message.hasData ? payload.data() : nullptr;
        switch (message.kind)
        {
        case Kind::ConnectorUpdate:
            return connector_->OnRecvDeviceConnectStateUpdate(item);
        case Kind::FeatureUpdate:
            return feature_->OnRecvDeviceConnectStateUpdate(item);
        case Kind::DeviceChange:
            return feature_->OnRecvDeviceChange(item);
        case Kind::ConnectorServer:
            return connector_->OnRecvServerStateChanged(item);
        default:
            return feature_->OnRecvServerStateChanged(item);
        }
    }

    void Check(const Expectation& expected) const
    {
        CheckReports(expected.reports);
        fuzz::Require((*connector_).*MemberOf(test::ConnectorStates{}) == expected.states, "the states known");
        CheckQueue(expected.enables);
        fuzz::Require(fuzz::SleptSoFar().milliseconds == expected.sleptMs, "the time slept");
        fuzz::Require(IsNear(sim::AudioService::Instance().Volume("speaker"), expected.volume), "the volume");
        fuzz::Require(IsNear((*feature_).*MemberOf(test::SavedVolume{}), expected.savedVolume), "the saved volume");
        fuzz::Require((*connector_).*MemberOf(test::ConnectorWorking{}) == expected.connectorWorking,
                      "what the connecter knows of the service");
        fuzz::Require((*feature_).*MemberOf(test::FeatureWorking{}) == expected.featureWorking,
                      "what the feature handler knows of the service");
    }

    static bool IsNear(float one, float other) { return one > other - exactly && one < other + exactly; }

    static void CheckReports(const std::vector<Expectation::Report>& expected)
    {
        const std::vector<sim::ConnStateReport> reports = sim::HostControl::Instance().ConnStateReports();
        fuzz::Require(reports.size() == expected.size(), "the number of reports");
        for (std::size_t at = 0; at < reports.size(); ++at)
        {
            const VynCore::VynDevice& device = reports[at].device;
            const Expectation::Report& wanted = expected[at];
            fuzz::Require(device.deviceId == wanted.deviceId && device.baseInfo.deviceMacAddr == wanted.mac &&
                              device.deviceName == wanted.name && device.deviceAlias.empty() &&
                              device.deviceGroup == wanted.group && device.modelId == wanted.model &&
                              device.subModelId == wanted.subModel && device.bluetoothAddr.empty() &&
                              device.deviceType == VynCore::DeviceType::Headset,
                          "the device of a report");
            fuzz::Require(reports[at].state == wanted.state, "the state of a report");
        }
    }

    void CheckQueue(const std::vector<std::string>& expected) const
    {
        const std::vector<CoopTask>& queue = (*feature_).*MemberOf(test::Queue{});
        fuzz::Require(queue.size() == expected.size(), "the length of the queue");
        for (std::size_t at = 0; at < queue.size(); ++at)
        {
            fuzz::Require(queue[at].mac == expected[at] && queue[at].kind == 3 && queue[at].doneEvent,
                          "a task in the queue");
        }
    }

    std::shared_ptr<HeadsetConnector> connector_;
    std::shared_ptr<HeadsetAudioFeatureHandler> feature_;
};

} // namespace

/// Input: a number of messages; each has its kind, flags (see ReadMessage), ids that differ from the usual ones, and its
/// payload behind a length; the last one's payload is the rest.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static auto* const stage =
        new Stage(); // never destroyed: threads of the stand-ins may still be under way at the end
    fuzz::Input input(bytes, size);
    std::vector<Message> messages;
    for (std::size_t left = input.Pick(mostMessages) + 1; left > 0; --left)
    {
        messages.push_back(ReadMessage(input, left == 1));
    }
    stage->Play(messages);
    return 0;
}
