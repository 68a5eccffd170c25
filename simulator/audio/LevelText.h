#pragma once

#include <cstdio>
#include <string>

namespace sim
{

/// A volume level as the timeline shows it: up to six digits, such as "0.32".
inline std::string LevelText(float level)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g", static_cast<double>(level));
    return text;
}

} // namespace sim
