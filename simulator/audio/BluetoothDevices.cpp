#include "simulator/audio/BluetoothDevices.h"

#include <devpropdef.h>
#include <setupapi.h>

#include <cwchar>
#include <iterator>
#include <stdexcept>

// The platform's header lacks it.
extern "C" BOOL WINAPI SetupDiSetDevicePropertyW(HDEVINFO set, PSP_DEVINFO_DATA device, const DEVPROPKEY* key,
                                                 DEVPROPTYPE type, const BYTE* value, DWORD size, DWORD flags);

namespace sim
{

namespace
{

constexpr GUID bluetoothClass = {0xE0CBF06C, 0xCD8B, 0x4647, {0xBB, 0x8A, 0x26, 0x3B, 0x43, 0xF0, 0xF9, 0x74}};
constexpr GUID deviceProperties = {0xA45C254E, 0xDF1C, 0x4EFD, {0x80, 0x20, 0x67, 0xD1, 0x46, 0xA8, 0x50, 0xE0}};
constexpr DEVPROPKEY hardwareIdsKey = {deviceProperties, 3};
constexpr DEVPROPKEY baseContainerIdKey = {deviceProperties, 38};

const std::wstring enumKey = L"System\\CurrentControlSet\\Enum\\";

void Check(bool succeeded, const char* what)
{
    if (!succeeded)
    {
        throw std::runtime_error(std::string(what) + " failed with " + std::to_string(GetLastError()));
    }
}

void CheckStatus(LSTATUS status, const char* what)
{
    SetLastError(static_cast<DWORD>(status));
    Check(status == ERROR_SUCCESS, what);
}

/// Owns a set of devices.
class DeviceSet
{
public:
    DeviceSet() : set_(SetupDiCreateDeviceInfoList(&bluetoothClass, nullptr))
    {
        Check(set_ != INVALID_HANDLE_VALUE, "SetupDiCreateDeviceInfoList");
    }
    ~DeviceSet() { SetupDiDestroyDeviceInfoList(set_); }
    DeviceSet(const DeviceSet&) = delete;
    DeviceSet& operator=(const DeviceSet&) = delete;

    HDEVINFO Get() const { return set_; }

private:
    const HDEVINFO set_;
};

bool Exists(const std::wstring& instanceId)
{
    HKEY key = nullptr;
    const LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, (enumKey + instanceId).c_str(), 0, KEY_READ, &key);
    if (status == ERROR_SUCCESS)
    {
        RegCloseKey(key);
    }
    return status == ERROR_SUCCESS;
}

std::vector<wchar_t> StringList(const std::vector<std::wstring>& texts)
{
    std::vector<wchar_t> list;
    for (const std::wstring& text : texts)
    {
        list.insert(list.end(), text.c_str(), text.c_str() + text.size() + 1);
    }
    list.push_back(L'\0');
    return list;
}

void SetProperty(const DeviceSet& set, SP_DEVINFO_DATA& device, const DEVPROPKEY& key, DEVPROPTYPE type,
                 const void* value, std::size_t size)
{
    Check(SetupDiSetDevicePropertyW(set.Get(), &device, &key, type, static_cast<const BYTE*>(value),
                                    static_cast<DWORD>(size), 0),
          "SetupDiSetDevicePropertyW");
}

void SetProperties(const DeviceSet& set, SP_DEVINFO_DATA& device, const BluetoothNode& node)
{
    if (node.containerId)
    {
        SetProperty(set, device, baseContainerIdKey, DEVPROP_TYPE_GUID, &*node.containerId, sizeof(GUID));
    }
    if (node.hardwareIds)
    {
        const std::vector<wchar_t> list = StringList(*node.hardwareIds);
        SetProperty(set, device, hardwareIdsKey, DEVPROP_TYPE_STRING_LIST, list.data(), list.size() * sizeof(wchar_t));
    }
}

} // namespace

/// HKEY_LOCAL_MACHINE of this process, for as long as it lives. It is not volatile, since SetupAPI makes keys below it
/// that are not; the tree is deleted at the end.
class BluetoothDevices::PrivateMachine
{
public:
    PrivateMachine() : path_(L"Software\\SimulatedDevices\\" + std::to_wstring(GetCurrentProcessId()))
    {
        RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str()); // what an earlier process of this number left
        CheckStatus(
            RegCreateKeyExW(HKEY_CURRENT_USER, path_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key_, nullptr),
            "RegCreateKeyExW");
        CheckStatus(RegOverridePredefKey(HKEY_LOCAL_MACHINE, key_), "RegOverridePredefKey");
    }
    ~PrivateMachine()
    {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegCloseKey(key_);
        RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
    }
    PrivateMachine(const PrivateMachine&) = delete;
    PrivateMachine& operator=(const PrivateMachine&) = delete;

private:
    const std::wstring path_;
    HKEY key_ = nullptr;
};

BluetoothDevices::BluetoothDevices() : machine_(std::make_unique<PrivateMachine>()) {}

BluetoothDevices::~BluetoothDevices() = default;

std::wstring BluetoothDevices::AddNode(const BluetoothNode& node)
{
    const std::wstring instanceId = InstanceIdOf(node);
    if (Exists(instanceId))
    {
        throw std::runtime_error("there is a node of that instance id already");
    }
    const DeviceSet set;
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof device;
    Check(SetupDiCreateDeviceInfoW(set.Get(), instanceId.c_str(), &bluetoothClass, nullptr, nullptr, 0, &device),
          "SetupDiCreateDeviceInfoW");
    SetProperties(set, device, node);
    Check(SetupDiRegisterDeviceInfo(set.Get(), &device, 0, nullptr, nullptr, nullptr), "SetupDiRegisterDeviceInfo");
    return instanceId;
}

void BluetoothDevices::RemoveNode(const std::wstring& instanceId)
{
    CheckStatus(RegDeleteTreeW(HKEY_LOCAL_MACHINE, (enumKey + instanceId).c_str()), "RegDeleteTreeW");
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
