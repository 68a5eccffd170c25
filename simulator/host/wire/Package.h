#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace sim
{

/// One item of a package: a 32-bit integer or a byte string.
using PackageItem = std::variant<std::int32_t, std::string>;

/// Bytes of an item: a tag byte (1 integer, 2 string), then the value or the length in four bytes, least significant
/// first, then the bytes of the string.
std::string EncodeItem(const PackageItem& item);

/// Bytes of a whole package, as `QvIpcPackage` writes them.
std::string EncodePackage(const std::vector<PackageItem>& items);

/// Items of a whole package; none when the bytes are no package, a part is missing, or something is left over. No
/// bytes are a package without items.
std::optional<std::vector<PackageItem>> DecodePackage(std::string_view bytes);

/// Bytes before a string's own ones, and of an integer item.
inline constexpr std::uint32_t itemHeadSize = 5;

inline constexpr unsigned char integerTag = 1;
inline constexpr unsigned char stringTag = 2;

} // namespace sim
