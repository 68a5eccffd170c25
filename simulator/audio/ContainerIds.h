#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace sim
{

/// The container of the machine's own audio devices: {00000000-0000-0000-FFFF-FFFFFFFFFFFF}.
inline constexpr GUID builtInContainer = {0, 0, 0, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};

/// The container that a headset's endpoints and its device node get where a test names none, made from its address (12
/// hexadecimal digits): {5EAD5E70-0000-4000-8000-<address>}.
inline GUID HeadsetContainer(std::string_view address)
{
    GUID container = {0x5EAD5E70, 0, 0x4000, {0x80, 0, 0, 0, 0, 0, 0, 0}};
    std::uint64_t value = std::stoull(std::string(address), nullptr, 16);
    for (std::size_t at = 7; at >= 2; --at)
    {
        container.Data4[at] = static_cast<unsigned char>(value & 0xFF);
        value >>= 8;
    }
    return container;
}

} // namespace sim
