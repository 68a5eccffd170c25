#include "simulator/run/FactsJson.h"

#include "simulator/timeline/Cause.h"

#include <chrono>

namespace sim
{

std::string JsonText(const Json& json)
{
    return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

Json ValuesJson(const EntryFacts& facts)
{
    Json values = Json::object();
    for (const auto& [name, value] : facts.values)
    {
        values.emplace(name, value);
    }
    return values;
}

std::string FactsToLine(const EntryFacts& facts)
{
    return JsonText({{"kind", facts.kind},
                     {"values", ValuesJson(facts)},
                     {"gives", facts.gives},
                     {"cause", facts.cause},
                     {"clock", std::chrono::steady_clock::now().time_since_epoch().count()}});
}

EntryFacts FactsFromLine(const std::string& line)
{
    const Json json = Json::parse(line);
    EntryFacts facts{.kind = json.at("kind").get<std::string>(),
                     .gives = json.at("gives").get<CauseId>(),
                     .cause = json.at("cause").get<CauseId>()};
    const std::chrono::steady_clock::duration clock(json.at("clock").get<std::chrono::steady_clock::rep>());
    facts.happened = Timeline::Instance().SinceStart(std::chrono::steady_clock::time_point(clock));
    for (const auto& [name, value] : json.at("values").items())
    {
        facts.values.emplace_back(name, value.get<std::string>());
    }
    return facts;
}

} // namespace sim
