#include "simulator/host/wire/PipeEnd.h"

#include <thread>
#include <utility>

namespace sim
{

namespace
{

constexpr DWORD fullPipeLimitMs = 5000;

} // namespace

std::wstring PipePath(std::string_view bus)
{
    return LR"(\\.\pipe\)" + std::wstring(bus.begin(), bus.end());
}

Handle OpenPipe(const std::wstring& path, std::chrono::milliseconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    for (;;)
    {
        Handle pipe = OwnFile(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                          FILE_FLAG_OVERLAPPED, nullptr));
        if (pipe || GetLastError() != ERROR_PIPE_BUSY || std::chrono::steady_clock::now() >= end)
        {
            return pipe;
        }
        // The service makes its next instance at once when one has been taken.
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

PipeEnd::PipeEnd(Handle pipe) : pipe_(std::move(pipe)) {}

std::optional<DWORD> PipeEnd::Finish(OVERLAPPED& overlapped, DWORD limitMs)
{
    const HANDLE events[] = {overlapped.hEvent, interrupted_.get()};
    const bool done = WaitForMultipleObjects(2, events, FALSE, limitMs) == WAIT_OBJECT_0;
    if (!done)
    {
        CancelIoEx(pipe_.get(), &overlapped);
    }
    // Waits for the end of a cancelled operation too: the system uses the record and the buffer until then.
    DWORD moved = 0;
    const bool success = GetOverlappedResult(pipe_.get(), &overlapped, &moved, TRUE) != FALSE;
    return done && success ? std::optional(moved) : std::nullopt;
}

bool PipeEnd::Write(std::string_view bytes)
{
    OVERLAPPED overlapped{};
    overlapped.hEvent = writeDone_.get();
    const auto size = static_cast<DWORD>(bytes.size());
    if (!WriteFile(pipe_.get(), bytes.data(), size, nullptr, &overlapped) && GetLastError() != ERROR_IO_PENDING)
    {
        return false;
    }
    return Finish(overlapped, fullPipeLimitMs) == size;
}

std::optional<std::size_t> PipeEnd::Read(char* bytes, std::size_t size)
{
    OVERLAPPED overlapped{};
    overlapped.hEvent = readDone_.get();
    if (!ReadFile(pipe_.get(), bytes, static_cast<DWORD>(size), nullptr, &overlapped) &&
        GetLastError() != ERROR_IO_PENDING)
    {
        return std::nullopt;
    }
    return Finish(overlapped, INFINITE);
}

void PipeEnd::Interrupt()
{
    SetEvent(interrupted_.get());
}

bool PipeEnd::IsInterrupted() const
{
    return WaitForSingleObject(interrupted_.get(), 0) == WAIT_OBJECT_0;
}

} // namespace sim
