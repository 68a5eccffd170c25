#include "ipc/IpcBufferBuild.h"

#include <algorithm>
#include <cstdint>

namespace
{

constexpr std::int32_t refused = -1;

/// The results are signed: what cannot be told in one is not done.
bool CanTell(std::uint32_t length)
{
    return length <= static_cast<std::uint32_t>(INT32_MAX);
}

} // namespace

IpcBufferBuild::IpcBufferBuild(char* buffer, std::uint32_t capacity, bool reading)
    : buffer_(buffer), capacity_(buffer != nullptr ? capacity : 0), reading_(reading)
{
}

IpcBufferBuild::~IpcBufferBuild() = default;

std::int32_t IpcBufferBuild::Write(const void* bytes, std::uint32_t length)
{
    if (reading_ || !CanTell(length) || length > capacity_ - position_ || (bytes == nullptr && length > 0))
    {
        return refused;
    }
    std::copy_n(static_cast<const char*>(bytes), length, buffer_ + position_);
    position_ += length;
    return static_cast<std::int32_t>(length);
}

std::int32_t IpcBufferBuild::Read(void* bytes, std::uint32_t length)
{
    if (!reading_ || !CanTell(length) || length > Remaining() || (bytes == nullptr && length > 0))
    {
        return refused;
    }
    std::copy_n(buffer_ + position_, length, static_cast<char*>(bytes));
    position_ += length;
    return static_cast<std::int32_t>(length);
}

std::uint32_t IpcBufferBuild::Remaining() const
{
    return reading_ ? capacity_ - position_ : 0;
}
