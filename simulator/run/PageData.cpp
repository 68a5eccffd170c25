#include "simulator/run/PageData.h"

#include "simulator/run/EntryNames.h"
#include "simulator/run/FactsJson.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace sim
{

namespace
{

std::int64_t WholeMicroseconds(Nanoseconds time)
{
    return std::chrono::duration_cast<std::chrono::microseconds>(time).count();
}

/// Numbers texts that occur often, in the order of their first occurrence.
class Numbering
{
public:
    std::size_t Of(const std::string& text)
    {
        const auto [known, isNew] = numbers_.emplace(text, texts_.size());
        if (isNew)
        {
            texts_.push_back(text);
        }
        return known->second;
    }

    const std::vector<std::string>& Texts() const { return texts_; }

private:
    std::map<std::string, std::size_t> numbers_;
    std::vector<std::string> texts_;
};

/// [time, lane, teller, kind, cause or -1, text, values]; what ends a row and is empty is left out.
Json EntryRow(const RunEntry& entry, const RunStory& story, std::size_t at, Numbering& lanes, Numbering& tellers,
              Numbering& kinds)
{
    const Json cause = story.causes[at] ? Json(*story.causes[at]) : Json(-1);
    Json row = Json::array({WholeMicroseconds(entry.time), lanes.Of(entry.lane), tellers.Of(entry.who),
                            kinds.Of(entry.facts.kind), cause, story.texts[at]});
    if (!entry.facts.values.empty() && entry.facts.kind != "log line")
    {
        row.push_back(ValuesJson(entry.facts));
    }
    return row;
}

Json Rows(const std::vector<StoryArrow>& arrows, Numbering& kinds)
{
    Json rows = Json::array();
    for (const StoryArrow& arrow : arrows)
    {
        rows.push_back(Json::array({arrow.from, arrow.to, kinds.Of(arrow.kind), WholeMicroseconds(arrow.leaves),
                                    WholeMicroseconds(arrow.arrives)}));
    }
    return rows;
}

Json Rows(const std::vector<StoryBar>& bars, Numbering& lanes)
{
    Json rows = Json::array();
    for (const StoryBar& bar : bars)
    {
        rows.push_back(
            Json::array({WholeMicroseconds(bar.begin), WholeMicroseconds(bar.end), lanes.Of(bar.lane), bar.text}));
    }
    return rows;
}

Json Objects(const std::vector<StoryTrack>& tracks)
{
    Json objects = Json::array();
    for (const StoryTrack& track : tracks)
    {
        Json spans = Json::array();
        for (const StorySpan& span : track.spans)
        {
            spans.push_back(Json::array({WholeMicroseconds(span.begin), WholeMicroseconds(span.end), span.value}));
        }
        objects.push_back({{"group", track.group}, {"name", track.name}, {"spans", std::move(spans)}});
    }
    return objects;
}

Json Objects(const std::vector<StoryCard>& cards)
{
    Json objects = Json::array();
    for (const StoryCard& card : cards)
    {
        Json object{
            {"begin", WholeMicroseconds(card.begin)}, {"end", WholeMicroseconds(card.end)}, {"entry", card.entry}};
        for (const auto& [name, text] : card.texts)
        {
            object.emplace(name, text);
        }
        objects.push_back(std::move(object));
    }
    return objects;
}

/// JSON for a script element: no text of it can end the element.
std::string ForScript(std::string json)
{
    std::string safe;
    safe.reserve(json.size());
    for (const char character : json)
    {
        if (character == '<')
        {
            safe += "\\u003c";
        }
        else
        {
            safe.push_back(character);
        }
    }
    return safe;
}

void Fill(std::string& page, std::string_view place, std::string_view content)
{
    if (const std::size_t at = page.find(place); at != std::string::npos)
    {
        page.replace(at, place.size(), content);
    }
}

} // namespace

std::string PageData(const RunRecord& record, const RunStory& story)
{
    Numbering lanes;
    Numbering tellers;
    Numbering kinds;
    std::ranges::for_each(story.lanes, [&lanes](const std::string& lane) { lanes.Of(lane); });
    Json entries = Json::array();
    for (std::size_t at = 0; at < record.entries.size(); ++at)
    {
        entries.push_back(EntryRow(record.entries[at], story, at, lanes, tellers, kinds));
    }
    Json data{{"title", record.title},
              {"held", record.held},
              {"expectations", record.expectations},
              {"end", WholeMicroseconds(record.end)},
              {"entries", std::move(entries)},
              {"arrows", Rows(story.arrows, kinds)},
              {"bars", Rows(story.bars, lanes)},
              {"tracks", Objects(story.tracks)},
              {"cards", Objects(story.cards)},
              {"tellers", tellers.Texts()},
              {"kinds", kinds.Texts()}};
    data["lanes"] = Json::array();
    for (const std::string& lane : lanes.Texts())
    {
        data["lanes"].push_back(NamedThread(lane));
    }
    return JsonText(data);
}

std::string MakePage(const PageParts& parts, const RunRecord& record, const RunStory& story)
{
    std::string page(parts.frame);
    Fill(page, "<!--style-->", parts.style);
    Fill(page, "<!--library-->", parts.library);
    Fill(page, "<!--program-->", parts.program);
    Fill(page, "<!--data-->", ForScript(PageData(record, story))); // last: its texts are no places
    return page;
}

} // namespace sim
