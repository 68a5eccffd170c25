#pragma once

#include <windows.h>

#include <devpropdef.h>

#include <map>
#include <string>
#include <vector>

namespace sim
{

/// The bytes of one property of a device node, by the number of its key.
struct DeviceProperty
{
    DEVPROPTYPE type = 0;
    std::vector<BYTE> value = {};
};

/// One device node. Plain data.
struct DeviceNode
{
    std::wstring instanceId;
    GUID setupClass = {};
    std::map<DWORD, DeviceProperty> properties = {};
};

/// The device nodes of this process, which SetupAPI shows in the alphabetical order of their instance ids. Any thread may
/// call these.
namespace DeviceTree
{
/// False when there is a node of that instance id already.
bool Add(DeviceNode node);
/// False when there is none.
bool Remove(const std::wstring& instanceId);
void Clear();
std::vector<DeviceNode> NodesOf(const GUID& setupClass);
} // namespace DeviceTree

} // namespace sim
