#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Conversion between narrow and wide texts in the ANSI code page, as everywhere in the module. A text that cannot be
/// converted gives an empty one.
namespace TextConversion
{

std::string ToNarrow(std::wstring_view text);
std::wstring ToWide(std::string_view text);

/// Nothing for a text with bytes that are no character of the code page.
std::optional<std::wstring> ToWideStrictly(std::string_view text);

} // namespace TextConversion
