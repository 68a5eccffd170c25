#pragma once

#include <filesystem>

namespace sim
{

/// Whether COM makes the simulated audio service's objects in this program. A manifest decides that once for all threads
/// of a process, so the computer's own audio takes a program without it.
bool HasSimulatedAudio();

/// Runs the program with this one's arguments and console, and gives its exit status. Says why, and gives
/// ExitStatus::Failed, when it cannot be started.
int RunProgram(const std::filesystem::path& program);

} // namespace sim
