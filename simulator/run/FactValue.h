#pragma once

#include "simulator/timeline/Timeline.h"

#include <string>
#include <string_view>

namespace sim
{

/// The value of that name; empty when there is none.
inline std::string FactValue(const EntryFacts& facts, std::string_view name)
{
    for (const auto& [known, value] : facts.values)
    {
        if (known == name)
        {
            return value;
        }
    }
    return {};
}

} // namespace sim
