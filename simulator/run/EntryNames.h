#pragma once

#include "simulator/timeline/Timeline.h"

#include <map>
#include <string>
#include <string_view>

namespace sim
{

/// Puts names before the numbers that entries tell: "deliver feature 12144177 connect-state 10617840". Only for showing;
/// expectations see the bare texts. For one thread at a time.
class EntryNames
{
public:
    /// Takes up the headset's name when the entry tells of one.
    void Learn(const EntryFacts& facts);

    std::string Named(std::string_view who, const std::string& what, const EntryFacts& facts) const;

    /// The name of a headset of that key; empty when it is not known.
    std::string HeadsetName(const std::string& key) const;

private:
    std::string WithHeadset(const std::string& text, const EntryFacts& facts) const;

    std::map<std::string, std::string> headsets_; // names by key
};

/// The name of a client, message or module of the bus; empty for others.
std::string_view BusName(std::string_view number);

/// Names of what numbers say; empty for numbers that say nothing.
std::string_view RoleName(std::string_view number);
std::string_view EndpointStateName(std::string_view number);
std::string_view ConnectionStateName(std::string_view number);
std::string_view FeatureStateName(std::string_view number);

/// A thread's name with the client's in the place of its number: "ipc connecter" for "ipc 12144176".
std::string NamedThread(const std::string& thread);

} // namespace sim
