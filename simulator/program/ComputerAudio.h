#pragma once

#include "simulator/program/scenario/Statement.h"

#include <windows.h>

#include <mmdeviceapi.h>

#include <chrono>
#include <memory>
#include <string>

namespace sim
{

/// A headset as far as the computer's audio is concerned.
struct AudioHeadset
{
    std::string name;
    std::string address; // 12 hexadecimal digits
    bool handsFree = true;
};

/// The audio of the computer around the module, as scenarios see and change it: endpoints by their labels, defaults,
/// volumes. Operations throw ScenarioFailure, or std::invalid_argument for a label that is not known, when something
/// cannot be done. Any thread may call them.
class ComputerAudio
{
public:
    using Milliseconds = std::chrono::milliseconds;

    virtual ~ComputerAudio() = default;

    virtual void Add(const scenario::BuiltIn& builtIn) = 0;
    virtual void Add(const AudioHeadset& headset) = 0;

    virtual void Connect(const AudioHeadset& headset, const scenario::HeadsetConnects& how) = 0;
    virtual void Disconnect(const AudioHeadset& headset) = 0;

    virtual void SetState(const std::string& label, DWORD state) = 0;
    virtual void SetDefault(const std::string& label, ERole role) = 0;
    virtual void SetVolume(const std::string& label, float level) = 0;
    /// Throws when calls of that name cannot be made to fail.
    virtual void CheckFault(const std::string& prefix) const = 0;

    virtual bool HasEndpoint(const std::string& label) const = 0;
    virtual DWORD State(const std::string& label) const = 0; // DEVICE_STATE_...; 0: there is no such endpoint
    /// The default's label, or its name when it has none; empty: there is none.
    virtual std::string Default(EDataFlow flow, ERole role) const = 0;
    virtual float Volume(const std::string& label) const = 0;

    /// These wait until it is so. False when `limit` has passed before.
    virtual bool WaitForState(const std::string& label, DWORD state, Milliseconds limit) const = 0;
    virtual bool WaitForDefault(EDataFlow flow, ERole role, const std::string& label, Milliseconds limit) const = 0;
    virtual bool WaitForVolume(const std::string& label, float level, Milliseconds limit) const = 0;

    ComputerAudio(const ComputerAudio&) = delete;
    ComputerAudio& operator=(const ComputerAudio&) = delete;

protected:
    ComputerAudio() = default;
};

/// The simulated audio service, for programs whose manifest registers its classes.
std::unique_ptr<ComputerAudio> MakeSimulatedAudio();

/// The computer's own. What it has there it tells the timeline of, and each change; it changes nothing itself.
std::unique_ptr<ComputerAudio> MakeSystemAudio();

} // namespace sim
