// How an audio endpoint is tied to a headset: through the container that its Bluetooth device node shares with it.
#include "audio/AudioIdentifiers.h"
#include "audio/DeviceInfoSet.h"
#include "audio/HeadFeatureConnect.h"
#include "audio/PropertyValue.h"

#include "accessory/AccessoryBaseSdk.h"
#include "audio/EndpointRecord.h"
#include "plugin/Log.h"
#include "plugin/TextConversion.h"

#include <mmdeviceapi.h>
#include <setupapi.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

namespace
{

constexpr const char* bluetoothMacTag = "HeadFeatureConnect::GetGUIDBluetoothMac";
constexpr const wchar_t* addressMark = L"Dev_";
constexpr std::size_t addressMarkLength = 4;

enum class NodeSearch
{
    Found,
    GoOn,
    Stop,
};

bool HasContainerId(const DeviceInfoSet& nodes, SP_DEVINFO_DATA& node, DWORD index)
{
    DEVPROPTYPE type = 0;
    DWORD requiredSize = 0;
    SetupDiGetDevicePropertyW(nodes.Get(), &node, &AudioIdentifiers::baseContainerIdKey, &type, nullptr, 0,
                              &requiredSize, 0);
    const DWORD error = GetLastError();
    Log::Info(bluetoothMacTag, "GetGUIDBluetoothMac--index=", index, "requiredSize=", requiredSize);
    return error == ERROR_INSUFFICIENT_BUFFER && requiredSize != 0;
}

bool IsInContainer(const DeviceInfoSet& nodes, SP_DEVINFO_DATA& node, const std::wstring& containerIdText)
{
    BYTE property[4096] = {};
    DEVPROPTYPE type = 0;
    if (!SetupDiGetDevicePropertyW(nodes.Get(), &node, &AudioIdentifiers::baseContainerIdKey, &type, property,
                                   sizeof(property), nullptr, 0))
    {
        return false;
    }
    GUID containerId;
    std::memcpy(&containerId, property, sizeof(containerId));
    wchar_t text[4096] = {};
    StringFromGUID2(containerId, text, static_cast<int>(std::size(text)));
    return containerIdText == text;
}

/// The first hardware id of a node; empty when it has none that fits.
std::wstring FirstHardwareId(const DeviceInfoSet& nodes, SP_DEVINFO_DATA& node)
{
    wchar_t ids[260 + 1] = {}; // 520 bytes and a zero that nothing overwrites
    DEVPROPTYPE type = 0;
    SetupDiGetDevicePropertyW(nodes.Get(), &node, &AudioIdentifiers::hardwareIdsKey, &type,
                              reinterpret_cast<BYTE*>(ids), sizeof(ids) - sizeof(wchar_t), nullptr, 0);
    return ids;
}

NodeSearch ExamineNode(const DeviceInfoSet& nodes, SP_DEVINFO_DATA& node, DWORD index,
                       const std::wstring& containerIdText, std::string& macKey)
{
    if (!HasContainerId(nodes, node, index))
    {
        return NodeSearch::Stop; // intended: such a node ends the search, the nodes after it are not looked at
    }
    if (!IsInContainer(nodes, node, containerIdText))
    {
        return NodeSearch::GoOn;
    }
    const bool found = HeadFeatureConnect::SetInterceptedMac(FirstHardwareId(nodes, node), macKey);
    Log::Info(bluetoothMacTag, "GetGUIDBluetoothMac-bolRe=", found);
    return found ? NodeSearch::Found : NodeSearch::GoOn;
}

void SetType(EndpointRecord& record)
{
    if (record.pszFlow == captureFlowName)
    {
        record.deviceTypeID = EndpointType::handsFree;
    }
    else if (record.pszFlow == renderFlowName)
    {
        const bool isHandsFree = record.deviceFriendlyName.find(L"Hands-Free") != std::wstring::npos;
        record.deviceTypeID = isHandsFree ? EndpointType::handsFree : EndpointType::stereo;
    }
}

} // namespace

bool HeadFeatureConnect::SetInterceptedMac(const std::wstring& hardwareId, std::string& macKey)
{
    const std::size_t position = hardwareId.find(addressMark);
    const std::uint64_t loggedPosition = position == std::wstring::npos ? UINT64_MAX : position;
    Log::Info("HeadFeatureConnect::SetInterceptedMac", "GetGuidBlueToothMacAddress-- macIDkeyEndIndex=",
              AccessoryBaseSdk::GetLastTwoSerialNumber(std::to_string(loggedPosition)));
    if (position == std::wstring::npos)
    {
        return false;
    }
    const std::string address = TextConversion::ToNarrow(hardwareId.substr(position + addressMarkLength));
    constexpr int hexadecimal = 16;
    // Intended: the key is the address in decimal.
    macKey = std::to_string(std::strtoull(address.c_str(), nullptr, hexadecimal));
    return true;
}

std::string HeadFeatureConnect::GetGUIDBluetoothMac(const std::wstring& containerIdText)
{
    std::string macKey;
    const DeviceInfoSet nodes(AudioIdentifiers::bluetoothClass);
    SP_DEVINFO_DATA node;
    DWORD index = 0;
    while (nodes.Node(index, node))
    {
        ++index;
        if (ExamineNode(nodes, node, index, containerIdText, macKey) != NodeSearch::GoOn)
        {
            break;
        }
    }
    return macKey;
}

void HeadFeatureConnect::GetEndPointTypeAndMac(HRESULT& hr, IPropertyStore* propertyStore, EndpointRecord& record)
{
    PropertyValue containerId;
    hr = propertyStore->GetValue(AudioIdentifiers::containerIdKey, containerId.Put());
    if (FAILED(hr) || containerId.Guid() == nullptr)
    {
        return;
    }
    StringFromGUID2(*containerId.Guid(), record.containerId, static_cast<int>(std::size(record.containerId)));
    record.deviceMacAddr = GetGUIDBluetoothMac(record.containerId);
    if (!record.deviceMacAddr.empty())
    {
        SetType(record);
    }
}
