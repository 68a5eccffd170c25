#pragma once

#include "device/VynTypes.h"
#include "simulator/audio/BluetoothDevices.h"
#include "simulator/program/ServiceProcess.h"
#include "simulator/program/scenario/Statement.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

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
    explicit World(ServiceProcess& service) : service_(service) {}

    void Add(const scenario::BuiltIn& builtIn);
    void Add(const scenario::Headset& headset);

    void StartService();
    void Do(const scenario::HeadsetConnects& action);
    void Do(const scenario::HeadsetDisconnects& action);
    void Do(const scenario::HeadsetEvent& action);
    void Do(const scenario::HeadsetMoves& action);

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

    KnownHeadset Find(const std::string& name) const;
    void SetConnected(const std::string& name, bool connected);
    void TellService(const KnownHeadset& headset);
    void SendEvent(const KnownHeadset& headset, std::int32_t type);

    ServiceProcess& service_;
    BluetoothDevices bluetooth_;
    mutable std::mutex mutex_;                     // a leaf; guards headsets_
    std::map<std::string, KnownHeadset> headsets_; // by name
};

} // namespace sim
