#include "simulator/audio/AudioService.h"
#include "simulator/audio/BluetoothDevices.h"
#include "simulator/audio/ContainerIds.h"
#include "simulator/program/ComputerAudio.h"
#include "simulator/program/scenario/Statement.h"
#include "simulator/timeline/Timeline.h"

#include <memory>

namespace sim
{

namespace
{

constexpr float levelTolerance = 0.00001F; // steps add up to levels that are not exact

class SimulatedAudio : public ComputerAudio
{
public:
    void Add(const scenario::BuiltIn& builtIn) override
    {
        audio_.AddEndpoint({.label = builtIn.name,
                            .flow = builtIn.capture ? eCapture : eRender,
                            .friendlyName = FromUtf8(builtIn.name),
                            .containerId = builtInContainer});
    }
    void Add(const AudioHeadset& headset) override { bluetooth_.AddHeadset(headset.address); }

    void Connect(const AudioHeadset& headset, const scenario::HeadsetConnects& how) override
    {
        if (how.endpoints)
        {
            audio_.ConnectHeadset({.address = headset.address,
                                   .name = FromUtf8(headset.name),
                                   .label = headset.name,
                                   .delay = how.endpointsAfter,
                                   .handsFreeRender = headset.handsFree,
                                   .handsFreeCapture = headset.handsFree});
        }
    }
    void Disconnect(const AudioHeadset& headset) override { audio_.DisconnectHeadset(headset.address); }

    void SetState(const std::string& label, DWORD state) override { audio_.SetState(label, state); }
    void SetDefault(const std::string& label, ERole role) override { audio_.SetDefault(label, role); }
    void SetVolume(const std::string& label, float level) override { audio_.SetVolume(label, level); }
    void CheckFault(const std::string&) const override {}

    bool HasEndpoint(const std::string& label) const override { return audio_.HasEndpoint(label); }
    DWORD State(const std::string& label) const override { return HasEndpoint(label) ? audio_.State(label) : 0; }
    std::string Default(EDataFlow flow, ERole role) const override { return audio_.Default(flow, role); }
    float Volume(const std::string& label) const override { return audio_.Volume(label); }

    bool WaitForState(const std::string& label, DWORD state, Milliseconds limit) const override
    {
        return audio_.WaitForState(label, state, limit);
    }
    bool WaitForDefault(EDataFlow flow, ERole role, const std::string& label, Milliseconds limit) const override
    {
        return audio_.WaitForDefault(flow, role, label, limit);
    }
    bool WaitForVolume(const std::string& label, float level, Milliseconds limit) const override
    {
        return audio_.WaitForVolume(label, level, levelTolerance, limit);
    }

private:
    AudioService& audio_ = AudioService::Instance();
    BluetoothDevices bluetooth_;
};

} // namespace

std::unique_ptr<ComputerAudio> MakeSimulatedAudio()
{
    return std::make_unique<SimulatedAudio>();
}

} // namespace sim
