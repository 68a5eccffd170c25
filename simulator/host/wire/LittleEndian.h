#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace sim
{

/// Adds the value's four bytes, least significant first.
inline void AppendUint32(std::string& bytes, std::uint32_t value)
{
    for (int shift = 0; shift < 32; shift += 8)
    {
        bytes.push_back(static_cast<char>(static_cast<unsigned char>(value >> shift)));
    }
}

/// The value of the first four bytes; there must be so many.
inline std::uint32_t LoadUint32(std::string_view bytes)
{
    std::uint32_t value = 0;
    for (std::size_t index = 0; index < 4; ++index)
    {
        value |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[index])) << (8 * index);
    }
    return value;
}

} // namespace sim
