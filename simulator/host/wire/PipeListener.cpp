#include "simulator/host/wire/PipeListener.h"

#include "simulator/host/wire/PipeEnd.h"

#include <windows.h>

#include <stdexcept>

namespace sim
{

namespace
{

constexpr DWORD bufferSize = 1024 * 1024;

/// A named event claims the bus: Wine lets a second process make the first instance of a pipe once more.
Handle ClaimBus(std::string_view bus)
{
    const std::wstring name = L"sim-ipc-bus-" + std::wstring(bus.begin(), bus.end());
    Handle claim(CreateEventW(nullptr, TRUE, FALSE, name.c_str()));
    if (!claim || GetLastError() == ERROR_ALREADY_EXISTS)
    {
        throw std::runtime_error("the bus has a service already");
    }
    return claim;
}

} // namespace

PipeListener::PipeListener(std::string_view bus)
    : claim_(ClaimBus(bus)), path_(PipePath(bus)), listening_(MakeInstance())
{
    if (!listening_)
    {
        throw std::runtime_error("there is no pipe for the bus");
    }
}

Handle PipeListener::MakeInstance() const
{
    return OwnFile(CreateNamedPipeW(path_.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                    PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT, PIPE_UNLIMITED_INSTANCES,
                                    bufferSize, bufferSize, 0, nullptr));
}

bool PipeListener::WaitForClient()
{
    OVERLAPPED overlapped{};
    overlapped.hEvent = connected_.get();
    if (ConnectNamedPipe(listening_.get(), &overlapped) || GetLastError() != ERROR_IO_PENDING)
    {
        // There is a client already, or it has been there: what it sent can still be read.
        return true;
    }
    const HANDLE events[] = {overlapped.hEvent, closed_.get()};
    const bool done = WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0;
    if (!done)
    {
        CancelIoEx(listening_.get(), &overlapped);
    }
    DWORD unused = 0;
    GetOverlappedResult(listening_.get(), &overlapped, &unused, TRUE);
    return done;
}

Handle PipeListener::Accept()
{
    if (WaitForSingleObject(closed_.get(), 0) == WAIT_OBJECT_0 || !listening_ || !WaitForClient())
    {
        listening_.reset();
        claim_.reset();
        return nullptr;
    }
    Handle next = MakeInstance();
    listening_.swap(next);
    return next;
}

void PipeListener::Close()
{
    SetEvent(closed_.get());
}

} // namespace sim
