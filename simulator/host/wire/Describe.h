#pragma once

#include "simulator/host/wire/Package.h"

#include <string>
#include <string_view>
#include <vector>

namespace sim
{

/// The text in double quotes; a quote or a backslash gets a backslash before it, a control character becomes \xNN.
std::string Quoted(std::string_view text);

/// Such as {5,"12345678","Headset"}.
std::string Describe(const std::vector<PackageItem>& items);

/// A payload for a timeline: its items when it is a package that has some, else its size, such as [12 bytes].
std::string DescribeBytes(std::string_view bytes);

/// A payload of which nothing is known: its items when it is a package that has some, else the quoted text.
std::string DescribePayload(std::string_view bytes);

} // namespace sim
