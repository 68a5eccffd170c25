#pragma once

#include "ipc/IOChannel.h"
#include "ipc/IpcApi.h"

#include <cstdint>

/// A channel over memory that stays the caller's and must outlive the channel.
class QV_IPC_API IpcBufferBuild : public IOChannel
{
public:
    /// `reading` false: an empty channel that fills `buffer` from its begin, up to `capacity` bytes.
    /// `reading` true: a channel that reads the `capacity` bytes that `buffer` holds; it does not change them.
    IpcBufferBuild(char* buffer, std::uint32_t capacity, bool reading);
    ~IpcBufferBuild() override;

    std::int32_t Write(const void* bytes, std::uint32_t length) override;
    std::int32_t Read(void* bytes, std::uint32_t length) override;
    std::uint32_t Remaining() const override;

    IpcBufferBuild(const IpcBufferBuild&) = delete;
    IpcBufferBuild& operator=(const IpcBufferBuild&) = delete;

private:
    char* buffer_;
    std::uint32_t capacity_;
    std::uint32_t position_ = 0;
    bool reading_;
};
