#pragma once

#include "simulator/audio/AudioService.h"
#include "simulator/audio/BluetoothDevices.h"
#include "simulator/service/ConnectivityService.h"

#include "device/IDevConnecter.h"
#include "device/IDevFeatureHandler.h"

namespace test
{

/// A computer with a speaker, a headset and the connectivity service, and a day in its life that makes the module take
/// its locks in all the ways that it does.
class Routine
{
public:
    Routine();

    /// With a module that is started, and both its providers.
    void Run(VynCore::IDevConnecter& connecter, VynCore::IDevFeatureHandler& handler);

private:
    void Connect();
    void SwitchOff(VynCore::IDevFeatureHandler& handler);
    void ChangeEndpoints();

    /// To a phone; the user wants it back.
    void MoveAudio();

    sim::BluetoothDevices devices_;
    sim::ConnectivityService service_;
};

} // namespace test
