#pragma once

#include <cstdint>

/// The service's own view of the traffic, kept apart from the module's on purpose: a wrong number there must show.
namespace sim::ids
{

inline constexpr std::int32_t service = 0xA20000;

inline constexpr std::int32_t started = 0xA203E8;
inline constexpr std::int32_t connectState = 0xA203F0;
inline constexpr std::int32_t queryConnected = 0xA203F1;
inline constexpr std::int32_t connectRequest = 0xA203F2;
inline constexpr std::int32_t deviceChange = 0xA203F8;

} // namespace sim::ids
