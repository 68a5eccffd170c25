#pragma once

#include <windows.h>

#include <mmdeviceapi.h>

#include <optional>
#include <string>
#include <vector>

namespace sim
{

/// An endpoint of the computer, as its audio service tells of it.
struct SystemEndpoint
{
    std::wstring id;
    std::string name; // UTF-8
    EDataFlow flow = eRender;
    DWORD state = 0;
};

/// The computer's audio service, through COM. Each operation works on a thread of its own, so that no apartment of the
/// calling thread matters. They throw ScenarioFailure when the service cannot be used.
class SystemEndpoints
{
public:
    static std::vector<SystemEndpoint> All();

    /// The default's id; none when there is none.
    static std::optional<std::wstring> Default(EDataFlow flow, ERole role);

    /// None when the service tells no volume of it.
    static std::optional<float> Volume(const std::wstring& id);
};

} // namespace sim
