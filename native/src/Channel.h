#pragma once

#include <windows.h>

#include <cstddef>
#include <optional>
#include <string>

/// Byte streams between threads of this process, in the place of named pipes. Listeners and ends are handles, which their
/// owners close; an end that is closed lets the other one read what is on its way, and then tells it. Nothing here waits:
/// owners give events, which are set when there may be something to do.
///
/// Any thread may call these; one end is read, and written, by one thread at a time.
namespace native
{

/// The service's end of a path; sets `clientCame` for each client. Null when the path has a listener already.
HANDLE OpenListener(const std::wstring& path, HANDLE clientCame);

/// The end of the next client that waits; null when none does.
HANDLE TakeClient(HANDLE listener);

/// The client's end; null when nobody listens at the path.
HANDLE ConnectTo(const std::wstring& path);

/// Says which events of the end's owner are set from now on: when there may be bytes, and when there may be room for
/// them, or the other end is closed. Both are set at once.
void WatchEnd(HANDLE end, HANDLE readable, HANDLE writable);

/// How many bytes were read, 0 when there are none yet; none when there will not be any more.
std::optional<std::size_t> TryRead(HANDLE end, char* bytes, std::size_t size);

/// How many bytes there was room for; none when the other end is closed.
std::optional<std::size_t> TryWrite(HANDLE end, const char* bytes, std::size_t size);

} // namespace native
