#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace sim::scenario
{

/// A headset's key: its Bluetooth address as unsigned decimal digits.
std::string HeadsetKey(std::uint64_t address);

/// Labels of a headset's endpoints.
std::string StereoEndpoint(std::string_view headset);
std::string HandsFreeEndpoint(std::string_view headset);
std::string HandsFreeMicrophone(std::string_view headset);

/// The names that a scenario has declared so far. Used by one thread; every operation throws ScenarioError for a name
/// that is taken already or that is not known.
class Names
{
public:
    void DeclareBuiltIn(const std::string& name);
    void DeclareHeadset(const std::string& name, std::uint64_t address, bool handsFree);

    std::string KnownHeadset(const std::string& name) const;
    std::string KnownEndpoint(const std::string& label) const;

    /// The text with "{NAME}" replaced by the key of the headset of that name, wherever one is declared.
    std::string WithKeys(std::string text) const;

private:
    void DeclareEndpoint(const std::string& label);

    std::map<std::string, std::uint64_t, std::less<>> headsets_; // addresses by name
    std::set<std::string, std::less<>> endpoints_;
};

} // namespace sim::scenario
