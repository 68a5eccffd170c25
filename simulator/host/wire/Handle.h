#pragma once

#include <windows.h>

#include <memory>
#include <system_error>

namespace sim
{

struct HandleCloser
{
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

/// Owns a handle of the operating system; null when there is none.
using Handle = std::unique_ptr<void, HandleCloser>;

/// Owns what CreateFileW and its like return, which is not null on failure.
inline Handle OwnFile(HANDLE handle)
{
    return Handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

/// A manual-reset event, not signalled. Throws std::system_error when there is none to be had.
inline Handle MakeEvent()
{
    Handle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!event)
    {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), "CreateEventW");
    }
    return event;
}

} // namespace sim
