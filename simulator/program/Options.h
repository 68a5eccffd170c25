#pragma once

#include <chrono>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace sim
{

/// What the command line asks for.
struct Options
{
    std::string scenario; // file; empty when interactive
    bool interactive = false;
    bool plain = false;
    bool coloured = false;           // even if the output is no terminal
    std::set<std::string> hidden;    // whose entries are not printed
    std::string service;             // the service's program; empty: connectivity-service.exe beside this program
    std::chrono::seconds limit{180}; // of a run that is not interactive
    bool systemAudio = false;        // the computer's own audio service in the place of the simulated one
    std::string page;                // file for the page of the run; empty: none is written
    std::string trace;               // likewise, for its trace
    std::string json;                // likewise, for its data as lines of JSON
};

extern const char* const usage;

/// Nothing when the arguments, the program's name left out, are not understood.
std::optional<Options> ParseOptions(const std::vector<std::string>& arguments);

} // namespace sim
