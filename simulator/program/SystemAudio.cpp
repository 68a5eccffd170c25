#include "simulator/audio/LevelText.h"
#include "simulator/audio/StateText.h"
#include "simulator/program/ComputerAudio.h"
#include "simulator/program/EndpointLabels.h"
#include "simulator/program/ScenarioFailure.h"
#include "simulator/program/SystemEndpoints.h"
#include "simulator/program/scenario/Statement.h"
#include "simulator/timeline/Timeline.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace sim
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds lookInterval{250}; // between two looks at the computer's audio
constexpr float systemLevelTolerance = 0.005F;         // a system's levels are steps

constexpr std::array flows{std::pair(eRender, "render"), std::pair(eCapture, "capture")};
constexpr std::array roles{std::pair(eConsole, "console"), std::pair(eMultimedia, "multimedia"),
                           std::pair(eCommunications, "communications")};

[[noreturn]] void Refuse(const std::string& what)
{
    throw ScenarioFailure("with --audio system " + what);
}

template <typename Condition> bool WaitUntil(Condition condition, std::chrono::milliseconds limit)
{
    const auto deadline = Clock::now() + limit;
    while (!condition())
    {
        if (Clock::now() >= deadline)
        {
            return false;
        }
        std::this_thread::sleep_for(lookInterval);
    }
    return true;
}

/// Looks at the computer's endpoints, defaults and volumes again and again, on a thread of its own, and tells the
/// timeline of each difference. Never destroyed: it looks on until the process ends.
class Observer
{
public:
    explicit Observer(std::mutex& labelsMutex, const EndpointLabels& labels)
        : labelsMutex_(labelsMutex), labels_(labels)
    {
        Look();
        std::thread([this] { Run(); }).detach();
    }

private:
    void Run()
    {
        for (;;)
        {
            std::this_thread::sleep_for(lookInterval);
            try
            {
                Look();
            }
            catch (const std::exception&) // the service may be away for a moment: the next look tells
            {
                continue;
            }
        }
    }

    void Look()
    {
        const std::vector<SystemEndpoint> endpoints = SystemEndpoints::All();
        for (const SystemEndpoint& endpoint : endpoints)
        {
            Tell("endpoint", Label(endpoint), StateText(endpoint.state));
            const auto level = endpoint.state == DEVICE_STATE_ACTIVE && endpoint.flow == eRender
                                   ? SystemEndpoints::Volume(endpoint.id)
                                   : std::nullopt;
            Tell("volume", Label(endpoint), level ? LevelText(*level) : std::string());
        }
        for (const auto& [flow, flowName] : flows)
        {
            for (const auto& [role, roleName] : roles)
            {
                const auto id = SystemEndpoints::Default(flow, role);
                const auto found = std::ranges::find_if(endpoints, [&id](const SystemEndpoint& endpoint)
                                                        { return id && endpoint.id == *id; });
                Tell("default", std::string(flowName) + " " + roleName,
                     found != endpoints.end() ? Label(*found) : std::string());
            }
        }
    }

    std::string Label(const SystemEndpoint& endpoint)
    {
        const std::scoped_lock lock(labelsMutex_);
        return labels_.LabelOf(endpoint);
    }

    /// Tells it when it is not what it was.
    void Tell(const std::string& track, const std::string& subject, const std::string& value)
    {
        std::string& known = known_[track + " " + subject];
        if (known == value)
        {
            return;
        }
        known = value;
        Timeline::Instance().ChangeState(track, subject, value);
        Timeline::Instance().Add(
            "audio", track + " " + subject + " is " + (value.empty() ? "none" : value),
            {.kind = "observed", .values = {{"what", track}, {"whose", subject}, {"value", value}}});
    }

    std::mutex& labelsMutex_;
    const EndpointLabels& labels_;             // guarded by labelsMutex_
    std::map<std::string, std::string> known_; // by track and subject; of the looking thread
};

/// Never destroyed, as its observer.
class SystemAudio : public ComputerAudio
{
public:
    SystemAudio() : observer_(mutex_, labels_) {}

    void Add(const scenario::BuiltIn& builtIn) override
    {
        {
            const std::scoped_lock lock(mutex_);
            labels_.Add(builtIn);
        }
        if (!HasEndpoint(builtIn.name))
        {
            Refuse("the endpoints are the computer's own, and none of them has \"" + builtIn.name +
                   "\" in its name; there are " + Names());
        }
    }
    void Add(const AudioHeadset& headset) override
    {
        const std::scoped_lock lock(mutex_);
        labels_.Add(headset);
    }

    void Connect(const AudioHeadset&, const scenario::HeadsetConnects& how) override
    {
        if (!how.endpoints || how.endpointsAfter.count() != 0)
        {
            Refuse("a headset's endpoints come by themselves; only \"connects\" can be told");
        }
    }
    void Disconnect(const AudioHeadset&) override {}

    void SetState(const std::string&, DWORD) override
    {
        Refuse("endpoints cannot be changed here; plug the device in, or use the sound settings");
    }
    void SetDefault(const std::string&, ERole) override
    {
        Refuse("the defaults cannot be chosen here; use the sound settings");
    }
    void SetVolume(const std::string&, float) override
    {
        Refuse("volumes cannot be set here; use the computer's volume control");
    }
    void CheckFault(const std::string& prefix) const override
    {
        for (const char* own : {"CoCreateInstance", "IMM", "IPolicyConfig", "IAudio", "IPropertyStore"})
        {
            if (prefix.starts_with(own))
            {
                Refuse("calls of the audio service cannot be made to fail");
            }
        }
    }

    bool HasEndpoint(const std::string& label) const override { return Find(label).has_value(); }
    DWORD State(const std::string& label) const override
    {
        const auto endpoint = Find(label);
        return endpoint ? endpoint->state : 0;
    }
    std::string Default(EDataFlow flow, ERole role) const override
    {
        const auto id = SystemEndpoints::Default(flow, role);
        for (const SystemEndpoint& endpoint : SystemEndpoints::All())
        {
            if (id && endpoint.id == *id)
            {
                const std::scoped_lock lock(mutex_);
                return labels_.LabelOf(endpoint);
            }
        }
        return {};
    }
    float Volume(const std::string& label) const override
    {
        const auto endpoint = Find(label);
        const auto level = endpoint ? SystemEndpoints::Volume(endpoint->id) : std::nullopt;
        if (!level)
        {
            Refuse("the computer tells no volume of \"" + label + "\"");
        }
        return *level;
    }

    bool WaitForState(const std::string& label, DWORD state, Milliseconds limit) const override
    {
        return WaitUntil([&] { return State(label) == state; }, limit);
    }
    bool WaitForDefault(EDataFlow flow, ERole role, const std::string& label, Milliseconds limit) const override
    {
        return WaitUntil([&] { return Default(flow, role) == label; }, limit);
    }
    bool WaitForVolume(const std::string& label, float level, Milliseconds limit) const override
    {
        return WaitUntil([&] { return std::abs(Volume(label) - level) <= systemLevelTolerance; }, limit);
    }

private:
    std::optional<SystemEndpoint> Find(const std::string& label) const
    {
        const std::vector<SystemEndpoint> endpoints = SystemEndpoints::All();
        const std::scoped_lock lock(mutex_);
        const SystemEndpoint* const found = labels_.Find(endpoints, label);
        return found != nullptr ? std::optional(*found) : std::nullopt;
    }

    static std::string Names()
    {
        std::string names;
        for (const SystemEndpoint& endpoint : SystemEndpoints::All())
        {
            names += (names.empty() ? "\"" : ", \"") + endpoint.name + "\"";
        }
        return names.empty() ? "none" : names;
    }

    mutable std::mutex mutex_; // a leaf
    EndpointLabels labels_;    // guarded by mutex_
    Observer observer_;        // last: it uses both
};

} // namespace

std::unique_ptr<ComputerAudio> MakeSystemAudio()
{
    return std::make_unique<SystemAudio>();
}

} // namespace sim
