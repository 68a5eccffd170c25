#pragma once

#include <windows.h>

#include <stdexcept>
#include <thread>
#include <utility>

namespace sim
{

/// Starts a thread of this library that runs to the end of the process. The library is never unmapped from then on.
template <typename Body> void StartLibraryThread(Body body)
{
    static const char placeInThisLibrary = 0;
    HMODULE library = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                            reinterpret_cast<LPCWSTR>(&placeInThisLibrary), &library))
    {
        throw std::runtime_error("the tips library cannot be pinned");
    }
    std::thread(std::move(body)).detach();
}

} // namespace sim
