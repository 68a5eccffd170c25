#include "simulator/run/EntryNames.h"

#include "simulator/run/FactValue.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <span>
#include <utility>

namespace sim
{

namespace
{

using Name = std::pair<std::string_view, std::string_view>; // number, name

constexpr std::array busNames{
    Name{"12144176", "connecter"},       Name{"12144177", "feature"},         Name{"10616832", "service"},
    Name{"10617832", "register"},        Name{"10617833", "unregister"},      Name{"10617834", "query"},
    Name{"10617840", "connect-state"},   Name{"10617841", "query-connected"}, Name{"10617842", "connect-request"},
    Name{"10617844", "connect-state-2"}, Name{"10617848", "device-change"},   Name{"10617849", "headset-command"},
};
constexpr std::array roleNames{Name{"0", "console"}, Name{"1", "multimedia"}, Name{"2", "communications"}};
constexpr std::array endpointStateNames{Name{"1", "active"}, Name{"2", "disabled"}, Name{"4", "not-present"},
                                        Name{"8", "unplugged"}};
constexpr std::array connectionStateNames{Name{"0", "connected"}, Name{"1", "connecting"}, Name{"2", "disconnected"},
                                          Name{"3", "disconnecting"}};
constexpr std::array featureStateNames{Name{"0", "off"}, Name{"3", "on"}};
constexpr std::array visibleNames{Name{"0", "hidden"}, Name{"1", "shown"}};
constexpr std::array keyNames{Name{"173", "mute"}, Name{"174", "volume-down"}, Name{"175", "volume-up"}};

std::string_view NameIn(std::span<const Name> names, std::string_view number)
{
    const auto found = std::ranges::find(names, number, &Name::first);
    return found != names.end() ? found->second : std::string_view();
}

bool IsNumber(std::string_view word)
{
    return !word.empty() && std::ranges::all_of(word, [](unsigned char digit) { return std::isdigit(digit) != 0; });
}

/// The head of an entry of the bus: up to its payload, which begins with one of these characters.
std::size_t HeadSize(const std::string& text)
{
    return std::min(text.find_first_of("\"{["), text.size());
}

std::string WithBusNames(const std::string& text)
{
    std::string named;
    std::size_t at = 0;
    const std::size_t head = HeadSize(text);
    while (at < head)
    {
        const std::size_t end = std::min(text.find(' ', at), head);
        const std::string_view word = std::string_view(text).substr(at, end - at);
        const std::string_view name = IsNumber(word) ? BusName(word) : std::string_view();
        named += (name.empty() ? "" : std::string(name) + " ") + std::string(word) + (end < head ? " " : "");
        at = end + 1;
    }
    return named + text.substr(head);
}

/// The text with a name before its word number `index`, counted from the end when negative; -1 is the last one. What
/// follows " -> ", a call's result, is no word of it.
std::string WithNameBeforeWord(const std::string& text, int index, std::span<const Name> names)
{
    const std::size_t size = std::min(text.find(" -> "), text.size());
    std::size_t begin = 0;
    if (index < 0)
    {
        const std::size_t blank = text.rfind(' ', size - 1);
        begin = blank == std::string::npos ? 0 : blank + 1;
    }
    for (; index > 0 && begin < size; --index)
    {
        const std::size_t blank = text.find(' ', begin);
        begin = blank == std::string::npos ? size : blank + 1;
    }
    const std::size_t end = std::min(text.find(' ', begin), size);
    const std::string_view name = begin < end ? NameIn(names, text.substr(begin, end - begin)) : std::string_view();
    return name.empty() ? text : text.substr(0, begin) + std::string(name) + " " + text.substr(begin);
}

/// Where an entry of a kind has a number that says something.
struct NumberPlace
{
    std::string_view kind;
    int word;
    std::span<const Name> names;
};

constexpr std::array<NumberPlace, 7> numberPlaces{{
    {"default set", -1, roleNames},
    {"visibility set", -1, visibleNames},
    {"state notification", -1, endpointStateNames},
    {"default notification", 2, roleNames},
    {"connection state", -1, connectionStateNames},
    {"feature state", -1, featureStateNames},
    {"key", 1, keyNames},
}};

} // namespace

void EntryNames::Learn(const EntryFacts& facts)
{
    if (facts.kind == "headset")
    {
        headsets_[FactValue(facts, "headset")] = FactValue(facts, "name");
    }
}

std::string EntryNames::Named(std::string_view who, const std::string& what, const EntryFacts& facts) const
{
    if (who == "ipc" || who == "service")
    {
        return WithBusNames(what);
    }
    const auto place = std::ranges::find(numberPlaces, facts.kind, &NumberPlace::kind);
    const std::string text = place != numberPlaces.end() ? WithNameBeforeWord(what, place->word, place->names) : what;
    return who == "host" ? WithHeadset(text, facts) : text;
}

std::string EntryNames::HeadsetName(const std::string& key) const
{
    const auto known = headsets_.find(key);
    return known != headsets_.end() ? known->second : std::string();
}

std::string EntryNames::WithHeadset(const std::string& text, const EntryFacts& facts) const
{
    const std::string key = FactValue(facts, "headset");
    const std::string name = HeadsetName(key);
    const std::size_t at = name.empty() ? std::string::npos : text.find(" " + key);
    return at == std::string::npos ? text : text.substr(0, at + 1) + name + text.substr(at);
}

std::string_view BusName(std::string_view number)
{
    return NameIn(busNames, number);
}

std::string_view RoleName(std::string_view number)
{
    return NameIn(roleNames, number);
}

std::string_view EndpointStateName(std::string_view number)
{
    return NameIn(endpointStateNames, number);
}

std::string_view ConnectionStateName(std::string_view number)
{
    return NameIn(connectionStateNames, number);
}

std::string_view FeatureStateName(std::string_view number)
{
    return NameIn(featureStateNames, number);
}

std::string NamedThread(const std::string& thread)
{
    constexpr std::string_view ipc = "ipc ";
    const std::string_view name =
        thread.starts_with(ipc) ? BusName(std::string_view(thread).substr(ipc.size())) : std::string_view();
    return name.empty() ? thread : std::string(ipc) + std::string(name);
}

} // namespace sim
