#pragma once

#include "ipc/IpcApi.h"

#include <cstdint>

/// A byte channel that packages are written to and read from. Not safe for several threads at once.
class QV_IPC_API IOChannel
{
public:
    virtual ~IOChannel() = default;

    /// Appends `length` bytes. Returns the number of bytes written, or a negative value when they do not fit (then
    /// nothing is written).
    virtual std::int32_t Write(const void* bytes, std::uint32_t length) = 0;

    /// Takes the next `length` bytes. Returns their number, or a negative value when fewer are left (then nothing
    /// is taken).
    virtual std::int32_t Read(void* bytes, std::uint32_t length) = 0;

    /// Bytes that can still be read.
    virtual std::uint32_t Remaining() const = 0;
};
