#pragma once

#include "simulator/audio/ContainerIds.h"

#include <windows.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim
{

/// A device node of the Bluetooth class.
struct BluetoothNode
{
    std::wstring instanceId = {};         // such as L"BTHENUM\\DEV_0A1B2C3D4E5F\\1", unique; empty: one is made
    std::optional<GUID> containerId = {}; // DEVPKEY_Device_BaseContainerId; none: the node has none
    std::optional<std::vector<std::wstring>> hardwareIds = {}; // DEVPKEY_Device_HardwareIds; none: the node has none
};

/// The present Bluetooth device nodes of this process, as SetupAPI shows them: empty at first, whatever the machine has.
/// Under Wine, SetupAPI keeps them in the registry: while it lives, HKEY_LOCAL_MACHINE of this process is a key of its
/// own, so that processes that run in parallel do not see each other's nodes. On Windows, where a node takes a driver, the
/// imports of SetupAPI's operations are replaced, in the program and in the module. SetupAPI lists the nodes in the alphabetical order of their instance ids; those that are made
/// here ("BTHENUM\SIM_00000001\1", ...) sort in the order of adding.
///
/// At most one object at a time in a process. Make it before other threads use the registry, destroy it after they have
/// ended using SetupAPI; its operations may be called from any thread. Failures throw std::runtime_error.
class BluetoothDevices
{
public:
    BluetoothDevices();
    ~BluetoothDevices();

    /// Returns the instance id.
    std::wstring AddNode(const BluetoothNode& node);
    void RemoveNode(const std::wstring& instanceId);

    /// The node of a headset: address "0A1B2C3D4E5F" gives the hardware id L"BTHENUM\\Dev_0A1B2C3D4E5F". Returns the
    /// instance id.
    std::wstring AddHeadset(std::string_view address, const GUID& containerId);
    /// With the container that AudioService gives the headset's endpoints.
    std::wstring AddHeadset(std::string_view address) { return AddHeadset(address, HeadsetContainer(address)); }

    BluetoothDevices(const BluetoothDevices&) = delete;
    BluetoothDevices& operator=(const BluetoothDevices&) = delete;

private:
    class PrivateMachine;

    std::wstring InstanceIdOf(const BluetoothNode& node);

    std::unique_ptr<PrivateMachine> machine_;
    std::atomic<unsigned> idsMade_ = 0;
};

} // namespace sim
