#include "simulator/audio/Headsets.h"

#include "simulator/audio/ContainerIds.h"
#include "simulator/audio/ServiceCore.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>
#include <vector>

namespace sim
{

void Headsets::Connect(const HeadsetOptions& options)
{
    const std::string address = CheckedAddress(options.address);
    const std::uint64_t connection = core_.Change(
        [&](EndpointModel& model)
        {
            Headset& headset = headsets_[address];
            headset = {options, ++connections_};
            headset.options.address = address;
            if (options.delay.count() == 0)
            {
                Appear(model, headset);
            }
            return headset.connection;
        });
    if (options.delay.count() != 0)
    {
        Later(options.delay, address, connection, &Headsets::Appear);
    }
}

void Headsets::Disconnect(std::string_view address)
{
    core_.Change(
        [&](EndpointModel& model)
        {
            Headset& headset = Find(address);
            headset.connection = ++connections_;
            for (const Part& part : PartsOf(headset.options))
            {
                if (const EndpointPointer endpoint = model.ByLabel(part.label))
                {
                    model.SetPresent(*endpoint, false);
                }
            }
        });
}

void Headsets::Remove(std::string_view address)
{
    core_.Change(
        [&](EndpointModel& model)
        {
            const Headset headset = Find(address);
            for (const Part& part : PartsOf(headset.options))
            {
                if (const EndpointPointer endpoint = model.ByLabel(part.label))
                {
                    model.Remove(endpoint);
                }
            }
            headsets_.erase(headset.options.address);
        });
}

void Headsets::Clear()
{
    core_.Change([this](EndpointModel&) { headsets_.clear(); });
}

std::string Headsets::CheckedAddress(std::string_view address)
{
    std::string upper(address);
    const bool isAddress =
        upper.size() == 12 && std::ranges::all_of(upper, [](unsigned char digit) { return std::isxdigit(digit) != 0; });
    if (!isAddress)
    {
        throw std::invalid_argument("not an address of 12 hexadecimal digits: " + upper);
    }
    std::ranges::transform(upper, upper.begin(),
                           [](unsigned char digit) { return static_cast<char>(std::toupper(digit)); });
    return upper;
}

std::vector<Headsets::Part> Headsets::PartsOf(const HeadsetOptions& options)
{
    std::vector<Part> parts;
    if (options.stereo)
    {
        parts.push_back({options.label + " stereo",
                         eRender,
                         L"Headphones (" + options.name + L" Stereo)",
                         {eConsole, eMultimedia}});
    }
    if (options.handsFreeRender)
    {
        parts.push_back({options.label + " hands-free",
                         eRender,
                         L"Headset (" + options.name + L" Hands-Free AG Audio)",
                         {eCommunications}});
    }
    if (options.handsFreeCapture)
    {
        parts.push_back({options.label + " microphone",
                         eCapture,
                         L"Headset Microphone (" + options.name + L" Hands-Free AG Audio)",
                         {eConsole, eMultimedia, eCommunications}});
    }
    return parts;
}

Headsets::Headset& Headsets::Find(std::string_view address)
{
    const auto found = headsets_.find(CheckedAddress(address));
    if (found == headsets_.end())
    {
        throw std::invalid_argument("no headset of that address connected: " + std::string(address));
    }
    return found->second;
}

bool Headsets::IsCurrent(const std::string& address, std::uint64_t connection) const
{
    const auto found = headsets_.find(address);
    return found != headsets_.end() && found->second.connection == connection;
}

/// Does a step of a connection after the delay, unless the headset has disconnected by then.
void Headsets::Later(std::chrono::milliseconds delay, const std::string& address, std::uint64_t connection,
                     void (Headsets::*step)(EndpointModel&, const Headset&))
{
    core_.Tasks().After(delay,
                        [this, address, connection, step]
                        {
                            core_.Change(
                                [&](EndpointModel& model)
                                {
                                    if (IsCurrent(address, connection))
                                    {
                                        (this->*step)(model, headsets_.at(address));
                                    }
                                });
                        });
}

void Headsets::Appear(EndpointModel& model, const Headset& headset)
{
    const HeadsetOptions& options = headset.options;
    for (const Part& part : PartsOf(options))
    {
        AppearPart(model, options, part);
    }
    Later(options.nameDelay, options.address, headset.connection, &Headsets::GiveNames);
    Later(options.containerDelay, options.address, headset.connection, &Headsets::GiveContainers);
}

void Headsets::AppearPart(EndpointModel& model, const HeadsetOptions& options, const Part& part)
{
    EndpointPointer endpoint = model.ByLabel(part.label);
    if (endpoint)
    {
        model.SetPresent(*endpoint, true);
    }
    else
    {
        EndpointOptions added{.label = part.label, .flow = part.flow};
        added.friendlyName = options.nameDelay.count() == 0 ? part.friendlyName : std::wstring();
        added.visible = options.visible;
        added.volume = options.volume;
        if (options.containerDelay.count() == 0)
        {
            added.containerId = options.containerId.value_or(HeadsetContainer(options.address));
        }
        endpoint = model.Add(added);
    }
    if (options.becomesDefault && endpoint->State() == DEVICE_STATE_ACTIVE)
    {
        for (const ERole role : part.roles)
        {
            model.Choose(endpoint, role);
        }
    }
}

void Headsets::GiveNames(EndpointModel& model, const Headset& headset)
{
    for (const Part& part : PartsOf(headset.options))
    {
        const EndpointPointer endpoint = model.ByLabel(part.label);
        if (endpoint && endpoint->friendlyName.empty())
        {
            model.SetFriendlyName(*endpoint, part.friendlyName);
        }
    }
}

void Headsets::GiveContainers(EndpointModel& model, const Headset& headset)
{
    const HeadsetOptions& options = headset.options;
    for (const Part& part : PartsOf(options))
    {
        const EndpointPointer endpoint = model.ByLabel(part.label);
        if (endpoint && !endpoint->containerId)
        {
            model.SetContainerId(*endpoint, options.containerId.value_or(HeadsetContainer(options.address)));
        }
    }
}

} // namespace sim
