#pragma once

#include "simulator/host/tips/TipsControl.h"

#include <string>
#include <vector>

namespace sim
{

/// A tip as the user sees it: the lines of a framed card with its icon's path, title, content and two buttons. UTF-8.
std::vector<std::string> TipCard(const TipDescription& tip);

} // namespace sim
