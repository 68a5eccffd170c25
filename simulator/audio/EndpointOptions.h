#pragma once

#include <windows.h>

#include <mmdeviceapi.h>

#include <chrono>
#include <optional>
#include <string>

namespace sim
{

/// An endpoint to be added. Its state follows from three flags: NOTPRESENT when it is not present, else DISABLED when it
/// is not visible, else UNPLUGGED when it is not plugged, else ACTIVE.
struct EndpointOptions
{
    std::string label;                 // its name in the control API and on the timeline; unique, UTF-8
    EDataFlow flow = eRender;          // eRender or eCapture
    std::wstring friendlyName = {};    // empty: the property has no value (VT_EMPTY)
    std::optional<GUID> containerId{}; // none: the property has no value (VT_EMPTY)
    bool present = true;
    bool plugged = true;
    bool visible = true;
    float volume = 1.0f; // master volume, 0 to 1
    bool muted = false;
    std::wstring id = {}; // empty: one like Windows' is made; those of one flow sort in the order they were added
};

/// A headset that connects. Its endpoints appear `delay` later: those which it has not yet are added, those which it has
/// from an earlier connection become present again. They are labelled "<label> stereo", "<label> hands-free" and
/// "<label> microphone", and named "Headphones (<name> Stereo)", "Headset (<name> Hands-Free AG Audio)" and
/// "Headset Microphone (<name> Hands-Free AG Audio)".
struct HeadsetOptions
{
    std::string address;                         // 12 hexadecimal digits
    std::wstring name = L"Headset";              // the maker's, as part of the endpoints' names
    std::string label = "headset";               // what its endpoints' labels begin with
    std::optional<GUID> containerId = {};        // none: HeadsetContainer(address)
    std::chrono::milliseconds delay{0};          // 0: the endpoints are there when ConnectHeadset returns
    std::chrono::milliseconds nameDelay{0};      // after the appearance of new endpoints: until then VT_EMPTY
    std::chrono::milliseconds containerDelay{0}; // after the appearance of new endpoints: until then VT_EMPTY
    bool stereo = true;
    bool handsFreeRender = true;
    bool handsFreeCapture = true;
    bool visible = true;         // of new endpoints
    float volume = 1.0f;         // of new endpoints
    bool becomesDefault = false; // true: when they appear, active endpoints are chosen: the stereo one for console and
                                 // multimedia, the hands-free one for communications, the microphone for all roles
};

} // namespace sim
