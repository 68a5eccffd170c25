#pragma once

#include "audio/EndpointRecord.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

/// An endpoint id, zero-terminated, owned; null means none.
using EndpointIdText = std::unique_ptr<wchar_t[]>;

/// A newly allocated copy of an endpoint id.
inline EndpointIdText CopyEndpointId(const std::wstring& id)
{
    auto copy = std::make_unique<wchar_t[]>(id.size() + 1);
    std::copy(id.begin(), id.end(), copy.get());
    copy[id.size()] = L'\0';
    return copy;
}

/// One endpoint of a headset, or the built-in speaker. Moved, not copied: it owns its id.
struct EarEndpointInfo
{
    EndpointIdText devicePwszAllID; // null when nothing was found
    std::string deviceStateName;
    std::string pszFlow;
    std::uint32_t deviceTypeID = EndpointType::unknown;
    std::string deviceMacAddr; // headset key; filled for the built-in speaker only

    /// Takes over a record. An id that is held already is given up without being freed: that leak is intended, and the
    /// only one.
    void Fill(const EndpointRecord& record)
    {
        static_cast<void>(devicePwszAllID.release());
        devicePwszAllID = CopyEndpointId(record.devicePwszAllID);
        deviceStateName = record.deviceStateName;
        deviceTypeID = record.deviceTypeID;
        pszFlow = record.pszFlow;
    }
};

/// The three endpoints of one headset, each with a null id when the headset lacks it.
struct HeadsetEndpoints
{
    EarEndpointInfo stereo;
    EarEndpointInfo handsFreeRender;
    EarEndpointInfo handsFreeCapture;
};
