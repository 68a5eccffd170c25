#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace sim
{

/// Texts by their resource ids.
using StringTable = std::map<std::wstring, std::wstring, std::less<>>;

/// The table of a culture, "en" or "de". Another one throws std::invalid_argument.
StringTable TableOf(std::string_view culture);

} // namespace sim
