#pragma once

#include <string_view>

namespace sim::scenario
{

/// Whether `text` as a whole is what `pattern` describes: itself, a "*" in it standing for any text, none included.
bool Matches(std::string_view pattern, std::string_view text);

} // namespace sim::scenario
