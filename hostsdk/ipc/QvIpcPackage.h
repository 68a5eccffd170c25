#pragma once

#include "ipc/IOChannel.h"
#include "ipc/IpcApi.h"

#include <cstdint>
#include <string>

/// A sequence of items over a channel: written in an order, read back in the same order. The byte encoding of an item
/// is the library's own. Not safe for several threads at once; the channel stays the caller's.
class QV_IPC_API QvIpcPackage
{
public:
    explicit QvIpcPackage(IOChannel* channel);

    /// Appends one item. Returns the number of bytes that it added, or a negative value when it did not fit (then
    /// nothing is added).
    std::int32_t PacketString(const std::string& text);
    std::int32_t PacketInt(std::int32_t value);

    /// Takes the next item. Returns the number of bytes taken, or a negative value when the payload ends before the
    /// item does or the item is malformed; then the argument keeps its value.
    std::int32_t UnpacketString(std::string& text);
    std::int32_t UnpacketInt(std::int32_t& value);

private:
    IOChannel* channel_;
};
