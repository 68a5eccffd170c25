// One end of a connection to the service, over an in-process channel in the place of a pipe.
#include "simulator/host/wire/PipeConnection.h"

#include "native/src/Channel.h"

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

PipeConnection::PipeConnection(Handle pipe) : pipe_(std::move(pipe))
{
    native::WatchEnd(pipe_.get(), readDone_.get(), writeDone_.get());
}

bool PipeConnection::Write(std::string_view bytes)
{
    const auto end = std::chrono::steady_clock::now() + fullChannelLimit;
    while (!bytes.empty())
    {
        ResetEvent(writeDone_.get());
        const auto written = native::TryWrite(pipe_.get(), bytes.data(), bytes.size());
        if (!written || std::chrono::steady_clock::now() >= end ||
            WaitForSingleObject(closed_.get(), 0) == WAIT_OBJECT_0)
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
    while (WaitForSingleObject(closed_.get(), 0) != WAIT_OBJECT_0)
    {
        ResetEvent(readDone_.get());
        const auto count = native::TryRead(pipe_.get(), buffer_.data(), buffer_.size());
        if (!count)
        {
            return std::nullopt;
        }
        if (*count > 0)
        {
            return static_cast<DWORD>(*count);
        }
        if (WaitForSingleObject(closed_.get(), 0) == WAIT_OBJECT_0)
        {
            return std::nullopt; // closed before the reset, which has taken the signal back
        }
        WaitForSingleObject(readDone_.get(), INFINITE);
    }
    return std::nullopt;
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
    SetEvent(readDone_.get());
    SetEvent(writeDone_.get());
}

} // namespace sim
