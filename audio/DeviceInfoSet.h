#pragma once

#include <windows.h>

#include <setupapi.h>

/// Owns a set of device nodes.
class DeviceInfoSet
{
public:
    /// The present devices of a setup class.
    explicit DeviceInfoSet(const GUID& setupClass)
        : set_(SetupDiGetClassDevsW(&setupClass, nullptr, nullptr, DIGCF_PRESENT))
    {
    }
    ~DeviceInfoSet()
    {
        if (set_ != INVALID_HANDLE_VALUE)
        {
            SetupDiDestroyDeviceInfoList(set_);
        }
    }
    DeviceInfoSet(const DeviceInfoSet&) = delete;
    DeviceInfoSet& operator=(const DeviceInfoSet&) = delete;

    HDEVINFO Get() const { return set_; }

    /// Gives the node at `index`; false when there is none.
    bool Node(DWORD index, SP_DEVINFO_DATA& node) const
    {
        node = {};
        node.cbSize = sizeof(node);
        return SetupDiEnumDeviceInfo(set_, index, &node) != FALSE;
    }

private:
    HDEVINFO set_;
};
