#pragma once

#include "simulator/host/wire/Frame.h"
#include "simulator/host/wire/Handle.h"
#include "simulator/host/wire/PipeEnd.h"

#include <array>
#include <mutex>
#include <optional>

namespace sim
{

/// One end of a connection, over a pipe that was opened for overlapped use.
///
/// Threads: `Send` and `Close` may be called from any thread, `Receive` from one at a time. It is held through shared
/// pointers by all of them; the pipe is closed with the last of these.
class PipeConnection
{
public:
    explicit PipeConnection(Handle pipe);

    /// Puts the whole frame into the pipe's buffer. Waits only while that is full, and gives the connection up when it
    /// stays full for five seconds. Returns false when the connection is lost.
    bool Send(const Frame& frame);

    /// Waits for the next frame. None when the connection is lost or closed.
    std::optional<Frame> Receive();

    /// Lets `Receive` and `Send` return, now and from now on.
    void Close();

    PipeConnection(const PipeConnection&) = delete;
    PipeConnection& operator=(const PipeConnection&) = delete;

private:
    PipeEnd end_;
    std::mutex sendMutex_;           // one frame after the other
    FrameParser parser_;             // of the receiving thread
    std::array<char, 65536> buffer_; // of the receiving thread
};

} // namespace sim
