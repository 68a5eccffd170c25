#pragma once

#include "device/VynTypes.h"
#include "simulator/program/ComputerAudio.h"
#include "simulator/program/ServiceProcess.h"
#include "simulator/program/scenario/Statement.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace sim
{

/// What is around the host: the computer's audio endpoints, the headsets, and the service that tells of them. It keeps
/// the three in step: a headset that connects is told by the service, has a device node, and its endpoints appear.
///
/// One object, made and destroyed by the main thread. Its operations may be called from any thread; they throw
/// ScenarioFailure when something cannot be done.
class World
{
public:
    /// Both stay the caller's.
    World(ServiceProcess& service, ComputerAudio& audio) : service_(service), audio_(audio) {}

    void Add(const scenario::BuiltIn& builtIn);
    void Add(const scenario::Headset& headset);

    void StartService();
    void Do(const scenario::HeadsetConnects& action);
    void Do(const scenario::HeadsetDisconnects& action);
    void Do(const scenario::HeadsetEvent& action);
    void Do(const scenario::HeadsetMoves& action);
    /// On a thread of its own, until the world ends.
    void Do(const scenario::HeadsetFollows& action);

    /// The headset as the host knows it.
    VynCore::VynDevice Device(const std::string& headset) const;

private:
    struct KnownHeadset
    {
        std::string name;
        std::string address; // 12 hexadecimal digits
        std::string key;     // the same in decimal
        bool handsFree;
        bool connected = false;
    };

    static AudioHeadset ToAudio(const KnownHeadset& headset);
    KnownHeadset Find(const std::string& name) const;
    void SetConnected(const std::string& name, bool connected);
    void TellService(const KnownHeadset& headset);
    void SendEvent(const KnownHeadset& headset, std::int32_t type);
    bool HasEndpoints(const KnownHeadset& headset) const;
    void Follow(const std::stop_token& stop, const std::string& name);
    void ComesOrGoes(const KnownHeadset& headset, bool connected);

    ServiceProcess& service_;
    ComputerAudio& audio_;
    mutable std::mutex mutex_;                     // a leaf; guards headsets_ and followers_
    std::map<std::string, KnownHeadset> headsets_; // by name
    std::vector<std::jthread> followers_;          // last: they use the others
};

} // namespace sim
