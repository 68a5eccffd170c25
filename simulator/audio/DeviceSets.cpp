#include "simulator/audio/DeviceSets.h"

#include "simulator/audio/DeviceTree.h"

#include <algorithm>
#include <string>
#include <vector>

namespace sim::DeviceSets
{

namespace
{

using NodeSet = std::vector<DeviceNode>;

BOOL Fail(DWORD error)
{
    SetLastError(error);
    return FALSE;
}

/// Null, with the error set, for a node that is not of the set.
const DeviceNode* Find(HDEVINFO set, const SP_DEVINFO_DATA* node)
{
    if (set == nullptr || set == INVALID_HANDLE_VALUE)
    {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    const auto& nodes = *static_cast<const NodeSet*>(set);
    if (node == nullptr || node->cbSize != sizeof(*node) || node->Reserved >= nodes.size())
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return &nodes[node->Reserved];
}

} // namespace

HDEVINFO WINAPI GetClassDevs(const GUID* setupClass, PCWSTR, HWND, DWORD)
{
    return new NodeSet(DeviceTree::NodesOf(*setupClass));
}

BOOL WINAPI EnumDeviceInfo(HDEVINFO set, DWORD index, PSP_DEVINFO_DATA node)
{
    if (set == nullptr || set == INVALID_HANDLE_VALUE)
    {
        return Fail(ERROR_INVALID_HANDLE);
    }
    const auto& nodes = *static_cast<const NodeSet*>(set);
    if (index >= nodes.size())
    {
        return Fail(ERROR_NO_MORE_ITEMS);
    }
    node->ClassGuid = nodes[index].setupClass;
    node->DevInst = index + 1;
    node->Reserved = index;
    return TRUE;
}

BOOL WINAPI GetDeviceProperty(HDEVINFO set, PSP_DEVINFO_DATA node, const DEVPROPKEY* key, DEVPROPTYPE* type,
                              PBYTE buffer, DWORD size, PDWORD required, DWORD)
{
    const DeviceNode* const found = Find(set, node);
    if (found == nullptr)
    {
        return FALSE;
    }
    const auto property = found->properties.find(key->pid);
    if (property == found->properties.end())
    {
        if (required != nullptr)
        {
            *required = 0;
        }
        return Fail(ERROR_NOT_FOUND);
    }
    const std::vector<BYTE>& value = property->second.value;
    *type = property->second.type;
    if (required != nullptr)
    {
        *required = static_cast<DWORD>(value.size());
    }
    if (value.size() > size)
    {
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    std::copy(value.begin(), value.end(), buffer);
    return TRUE;
}

BOOL WINAPI GetDeviceInstanceId(HDEVINFO set, PSP_DEVINFO_DATA node, LPWSTR id, DWORD size, PDWORD required)
{
    const DeviceNode* const found = Find(set, node);
    if (found == nullptr)
    {
        return FALSE;
    }
    const std::wstring& text = found->instanceId;
    if (required != nullptr)
    {
        *required = static_cast<DWORD>(text.size() + 1);
    }
    if (text.size() >= size)
    {
        return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    std::copy_n(text.c_str(), text.size() + 1, id);
    return TRUE;
}

BOOL WINAPI DestroyDeviceInfoList(HDEVINFO set)
{
    if (set == nullptr || set == INVALID_HANDLE_VALUE)
    {
        return Fail(ERROR_INVALID_HANDLE);
    }
    delete static_cast<NodeSet*>(set);
    return TRUE;
}

} // namespace sim::DeviceSets
