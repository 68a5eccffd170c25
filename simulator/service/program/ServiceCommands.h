#pragma once

#include "simulator/service/ConnectivityService.h"

#include <string_view>

namespace sim
{

/// The command language of the service program.
extern const char* const serviceCommandHelp;

/// Carries out a line of commands. Returns false for "stop". Throws what derives from std::exception when the line is
/// no command; then nothing has been done.
bool RunServiceCommand(ConnectivityService& service, std::string_view line);

} // namespace sim
