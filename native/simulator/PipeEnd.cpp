// One end of a pipe: an in-process channel in its place.
#include "simulator/host/wire/PipeEnd.h"

#include "native/src/Channel.h"

#include <utility>

namespace sim
{

namespace
{

constexpr std::chrono::milliseconds fullChannelLimit(5000);

} // namespace

std::wstring PipePath(std::string_view bus)
{
    return std::wstring(bus.begin(), bus.end());
}

Handle OpenPipe(const std::wstring& path, std::chrono::milliseconds)
{
    return Handle(native::ConnectTo(path));
}

PipeEnd::PipeEnd(Handle pipe) : pipe_(std::move(pipe))
{
    native::WatchEnd(pipe_.get(), readDone_.get(), writeDone_.get());
}

bool PipeEnd::Write(std::string_view bytes)
{
    const auto end = std::chrono::steady_clock::now() + fullChannelLimit;
    while (!bytes.empty())
    {
        ResetEvent(writeDone_.get());
        const auto written = native::TryWrite(pipe_.get(), bytes.data(), bytes.size());
        if (!written || std::chrono::steady_clock::now() >= end || IsInterrupted())
        {
            return false;
        }
        bytes.remove_prefix(*written);
        if (*written == 0)
        {
            WaitForSingleObject(writeDone_.get(), static_cast<DWORD>(fullChannelLimit.count()));
        }
    }
    return true;
}

std::optional<std::size_t> PipeEnd::Read(char* bytes, std::size_t size)
{
    while (!IsInterrupted())
    {
        ResetEvent(readDone_.get());
        const auto count = native::TryRead(pipe_.get(), bytes, size);
        if (!count)
        {
            return std::nullopt;
        }
        if (*count > 0)
        {
            return count;
        }
        if (IsInterrupted())
        {
            return std::nullopt; // interrupted before the reset, which has taken the signal back
        }
        WaitForSingleObject(readDone_.get(), INFINITE);
    }
    return std::nullopt;
}

void PipeEnd::Interrupt()
{
    SetEvent(interrupted_.get());
    SetEvent(readDone_.get());
    SetEvent(writeDone_.get());
}

bool PipeEnd::IsInterrupted() const
{
    return WaitForSingleObject(interrupted_.get(), 0) == WAIT_OBJECT_0;
}

} // namespace sim
