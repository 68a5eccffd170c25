#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

/// What kind of endpoint of a headset an endpoint is.
namespace EndpointType
{
inline constexpr std::uint32_t unknown = 0;
inline constexpr std::uint32_t stereo = 1;
inline constexpr std::uint32_t handsFree = 2;
} // namespace EndpointType

/// State of an endpoint that can be played to or recorded from.
inline constexpr const char* activeStateName = "DEVICE_STATE_ACTIVE";

/// Texts of an endpoint's data flow.
inline constexpr const char* renderFlowName = "eRender";
inline constexpr const char* captureFlowName = "eCapture";

/// One audio endpoint as the module knows it. Plain data, copied by value.
struct EndpointRecord
{
    std::wstring devicePwszAllID;    // the endpoint id
    std::string deviceReserved;      // never filled
    std::string deviceStateName;     // "DEVICE_STATE_ACTIVE" and the like; empty for a state without a name
    std::string pszFlow;             // "eRender", "eCapture", or empty
    std::wstring deviceFriendlyName; // empty when the endpoint has none
    wchar_t containerId[200] = {};   // container id in braces; empty when the endpoint has none
    std::uint32_t deviceTypeID = EndpointType::unknown;
    std::string deviceMacAddr; // headset key; empty for an endpoint that is no headset's
};

/// Endpoints by their id.
using EndpointList = std::map<std::wstring, EndpointRecord>;

/// Ids of the default render endpoints.
using DefaultSet = std::set<std::wstring>;
