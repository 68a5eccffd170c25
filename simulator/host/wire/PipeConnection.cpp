#include "simulator/host/wire/PipeConnection.h"

#include <windows.h>

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

PipeConnection::PipeConnection(Handle pipe) : pipe_(std::move(pipe)) {}

std::optional<DWORD> PipeConnection::Finish(OVERLAPPED& overlapped, DWORD limitMs)
{
    const HANDLE events[] = {overlapped.hEvent, closed_.get()};
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

bool PipeConnection::Write(std::string_view bytes)
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

bool PipeConnection::Send(const Frame& frame)
{
    const std::string bytes = EncodeFrame(frame);
    const std::scoped_lock lock(sendMutex_);
    if (WaitForSingleObject(closed_.get(), 0) == WAIT_OBJECT_0)
    {
        return false;
    }
    const bool sent = Write(bytes);
    if (!sent)
    {
        Close();
    }
    return sent;
}

std::optional<DWORD> PipeConnection::Read()
{
    OVERLAPPED overlapped{};
    overlapped.hEvent = readDone_.get();
    const auto size = static_cast<DWORD>(buffer_.size());
    if (!ReadFile(pipe_.get(), buffer_.data(), size, nullptr, &overlapped) && GetLastError() != ERROR_IO_PENDING)
    {
        return std::nullopt;
    }
    return Finish(overlapped, INFINITE);
}

std::optional<Frame> PipeConnection::Receive()
{
    while (WaitForSingleObject(closed_.get(), 0) != WAIT_OBJECT_0)
    {
        if (auto frame = parser_.Next())
        {
            return frame;
        }
        const auto received = parser_.IsMalformed() ? std::nullopt : Read();
        if (!received)
        {
            Close();
            break;
        }
        parser_.Feed(buffer_.data(), *received);
    }
    return std::nullopt;
}

void PipeConnection::Close()
{
    SetEvent(closed_.get());
}

} // namespace sim
