#pragma once

#include <string>
#include <vector>

namespace test
{

/// The lines of a table of the binary contract, without comments and empty ones; `name` such as "exports/microsoft.txt".
/// Throws std::runtime_error when there is none.
std::vector<std::string> TableLines(const std::string& name);

} // namespace test
