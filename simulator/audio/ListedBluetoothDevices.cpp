// Bluetooth device nodes that SetupAPI itself knows nothing of: its operations are replaced at the imports of those that
// call them. In the place of BluetoothDevices.cpp, for Windows, which takes its nodes from the machine's drivers.
#include "simulator/audio/BluetoothDevices.h"

#include "simulator/audio/DeviceClients.h"
#include "simulator/audio/DeviceTree.h"

#include <cwchar>
#include <iterator>
#include <stdexcept>

namespace sim
{

namespace
{

constexpr GUID bluetoothClass = {0xE0CBF06C, 0xCD8B, 0x4647, {0xBB, 0x8A, 0x26, 0x3B, 0x43, 0xF0, 0xF9, 0x74}};
constexpr DWORD hardwareIdsKey = 3;
constexpr DWORD baseContainerIdKey = 38;

std::vector<BYTE> Bytes(const void* value, std::size_t size)
{
    const auto* const first = static_cast<const BYTE*>(value);
    return {first, first + size};
}

std::vector<BYTE> StringList(const std::vector<std::wstring>& texts)
{
    std::wstring list;
    for (const std::wstring& text : texts)
    {
        list.append(text.c_str(), text.size() + 1);
    }
    return Bytes(list.c_str(), (list.size() + 1) * sizeof(wchar_t));
}

} // namespace

/// An empty tree, and clients that see it, for as long as it lives.
class BluetoothDevices::PrivateMachine
{
public:
    PrivateMachine() { DeviceTree::Clear(); }
    ~PrivateMachine() { DeviceTree::Clear(); }
    PrivateMachine(const PrivateMachine&) = delete;
    PrivateMachine& operator=(const PrivateMachine&) = delete;

private:
    DeviceClients clients_;
};

BluetoothDevices::BluetoothDevices() : machine_(std::make_unique<PrivateMachine>()) {}

BluetoothDevices::~BluetoothDevices() = default;

std::wstring BluetoothDevices::AddNode(const BluetoothNode& node)
{
    DeviceNode added{.instanceId = InstanceIdOf(node), .setupClass = bluetoothClass};
    if (node.containerId)
    {
        added.properties[baseContainerIdKey] = {DEVPROP_TYPE_GUID, Bytes(&*node.containerId, sizeof(GUID))};
    }
    if (node.hardwareIds)
    {
        added.properties[hardwareIdsKey] = {DEVPROP_TYPE_STRING_LIST, StringList(*node.hardwareIds)};
    }
    if (!DeviceTree::Add(added))
    {
        throw std::runtime_error("there is a node of that instance id already");
    }
    return added.instanceId;
}

void BluetoothDevices::RemoveNode(const std::wstring& instanceId)
{
    if (!DeviceTree::Remove(instanceId))
    {
        throw std::runtime_error("there is no node of that instance id");
    }
}

std::wstring BluetoothDevices::AddHeadset(std::string_view address, const GUID& containerId)
{
    const std::wstring hardwareId = L"BTHENUM\\Dev_" + std::wstring(address.begin(), address.end());
    return AddNode({.containerId = containerId, .hardwareIds = {{hardwareId}}});
}

std::wstring BluetoothDevices::InstanceIdOf(const BluetoothNode& node)
{
    if (!node.instanceId.empty())
    {
        return node.instanceId;
    }
    wchar_t id[32];
    std::swprintf(id, std::size(id), L"BTHENUM\\SIM_%08u\\1", ++idsMade_);
    return id;
}

} // namespace sim
