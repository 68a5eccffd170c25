#pragma once

#include "simulator/audio/EndpointModel.h"
#include "simulator/audio/EndpointOptions.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace sim
{

class ServiceCore;

/// The headsets that connect and disconnect: their endpoints appear and get their names and containers when it is time,
/// on the service's task thread. The fields are guarded by the service's lock, which the public operations take.
class Headsets
{
public:
    explicit Headsets(ServiceCore& core) : core_(core) {}

    /// Throws std::invalid_argument when the address is not one.
    void Connect(const HeadsetOptions& options);
    /// These throw std::invalid_argument when no headset of that address ever connected.
    void Disconnect(std::string_view address);
    void Remove(std::string_view address);
    void Clear();

private:
    struct Headset
    {
        HeadsetOptions options;
        std::uint64_t connection; // which one: what belongs to an earlier one is not done any more
    };

    /// One of the endpoints that a headset has.
    struct Part
    {
        std::string label;
        EDataFlow flow;
        std::wstring friendlyName;
        std::vector<ERole> roles; // for which it is chosen when the headset becomes the default
    };

    static std::string CheckedAddress(std::string_view address);
    static std::vector<Part> PartsOf(const HeadsetOptions& options);

    Headset& Find(std::string_view address);
    bool IsCurrent(const std::string& address, std::uint64_t connection) const;
    void Later(std::chrono::milliseconds delay, const std::string& address, std::uint64_t connection,
               void (Headsets::*step)(EndpointModel&, const Headset&));

    void Appear(EndpointModel& model, const Headset& headset);
    void AppearPart(EndpointModel& model, const HeadsetOptions& options, const Part& part);
    void GiveNames(EndpointModel& model, const Headset& headset);
    void GiveContainers(EndpointModel& model, const Headset& headset);

    ServiceCore& core_;
    std::map<std::string, Headset> headsets_; // by address, in upper case
    std::uint64_t connections_ = 0;
};

} // namespace sim
