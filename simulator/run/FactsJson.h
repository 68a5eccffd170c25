#pragma once

#include "simulator/timeline/Timeline.h"

#include <nlohmann/json.hpp>

#include <string>

namespace sim
{

using Json = nlohmann::ordered_json;

/// The JSON text in one line, in ASCII alone; what is no UTF-8 becomes U+FFFD.
std::string JsonText(const Json& json);

/// The values as an object; of two of one name the first one counts.
Json ValuesJson(const EntryFacts& facts);

/// Facts as they go from one process of the machine to another, with this moment on the clock that both have, and back:
/// the time that they happened at is that moment.
std::string FactsToLine(const EntryFacts& facts);

/// Throws nlohmann::json::exception for a text that does not hold facts.
EntryFacts FactsFromLine(const std::string& line);

} // namespace sim
