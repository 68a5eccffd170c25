#include "simulator/host/device/HostState.h"

#include <windows.h>

#include <array>

namespace sim
{

std::string FirstIpcBus()
{
    std::array<char, 256> name{};
    const DWORD length = GetEnvironmentVariableA("SIM_IPC_BUS", name.data(), static_cast<DWORD>(name.size()));
    if (length > 0 && length < name.size())
    {
        return name.data();
    }
    return "sim-ipc-" + std::to_string(GetCurrentProcessId());
}

HostState::HostState() : ipcBus(FirstIpcBus()) {}

HostState& HostState::Instance()
{
    // Never destroyed: threads of the module may still report something while the process ends.
    static HostState* const instance = new HostState();
    return *instance;
}

} // namespace sim
