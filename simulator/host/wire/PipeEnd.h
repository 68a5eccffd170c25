#pragma once

#include "simulator/host/wire/Handle.h"

#include <windows.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace sim
{

/// Path of a bus's pipe.
std::wstring PipePath(std::string_view bus);

/// Opens the client's end. While the service is there but has no free instance, tries again for as long as `patience`.
/// None when there is no service.
Handle OpenPipe(const std::wstring& path, std::chrono::milliseconds patience);

/// One end of a pipe that was opened for overlapped use, as a stream of bytes whose waits can be ended.
///
/// Threads: one at a time reads, one at a time writes; any thread may end their waits. Owned by its connection, which
/// closes the pipe with it.
class PipeEnd
{
public:
    explicit PipeEnd(Handle pipe);

    /// Puts all bytes into the pipe's buffer. Waits only while that is full. False when it stays full for five seconds,
    /// when the pipe is lost, or when `Interrupt` was called.
    bool Write(std::string_view bytes);

    /// Waits for bytes and gives how many there were, at most `size`. None when the pipe is lost or `Interrupt` was
    /// called.
    std::optional<std::size_t> Read(char* bytes, std::size_t size);

    /// Lets `Read` and `Write` return, now and from now on.
    void Interrupt();
    bool IsInterrupted() const;

    PipeEnd(const PipeEnd&) = delete;
    PipeEnd& operator=(const PipeEnd&) = delete;

private:
    /// Waits for the operation that `overlapped` belongs to, cancelling it on `Interrupt` or after `limitMs`. Gives the
    /// bytes moved; none when it failed.
    std::optional<DWORD> Finish(OVERLAPPED& overlapped, DWORD limitMs);

    const Handle pipe_;
    const Handle interrupted_ = MakeEvent();
    const Handle readDone_ = MakeEvent();
    const Handle writeDone_ = MakeEvent();
};

} // namespace sim
