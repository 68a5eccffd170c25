#include "simulator/host/wire/PipeConnection.h"

#include <string>
#include <utility>

namespace sim
{

PipeConnection::PipeConnection(Handle pipe) : end_(std::move(pipe)) {}

bool PipeConnection::Send(const Frame& frame)
{
    const std::string bytes = EncodeFrame(frame);
    const std::scoped_lock lock(sendMutex_);
    if (end_.IsInterrupted())
    {
        return false;
    }
    const bool sent = end_.Write(bytes);
    if (!sent)
    {
        Close();
    }
    return sent;
}

std::optional<Frame> PipeConnection::Receive()
{
    while (!end_.IsInterrupted())
    {
        if (auto frame = parser_.Next())
        {
            return frame;
        }
        const auto received = parser_.IsMalformed() ? std::nullopt : end_.Read(buffer_.data(), buffer_.size());
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
    end_.Interrupt();
}

} // namespace sim
