#include "simulator/program/ExpectationChecker.h"

#include "simulator/audio/LevelText.h"
#include "simulator/audio/StateText.h"
#include "simulator/host/tips/TipsControl.h"
#include "simulator/program/AudioTerms.h"
#include "simulator/program/EventMatch.h"
#include "simulator/program/ScenarioFailure.h"
#include "simulator/program/scenario/Pattern.h"
#include "simulator/timeline/Timeline.h"

#include "device/VynTypes.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <thread>
#include <variant>

namespace sim
{

namespace
{

using Clock = std::chrono::steady_clock;

/// The tip's field, as UTF-8.
std::string FieldText(const TipDescription& tip, scenario::TipField field)
{
    switch (field)
    {
    case scenario::TipField::Icon:
        return ToUtf8(tip.icon);
    case scenario::TipField::Title:
        return ToUtf8(tip.title);
    case scenario::TipField::FirstButton:
        return ToUtf8(tip.firstButton);
    case scenario::TipField::SecondButton:
        return ToUtf8(tip.secondButton);
    case scenario::TipField::Content:
        break;
    }
    return ToUtf8(tip.content);
}

constexpr scenario::Milliseconds readInterval{250}; // between two questions for a feature state

std::string Quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

scenario::Milliseconds Rest(Clock::time_point deadline)
{
    return std::max(std::chrono::ceil<scenario::Milliseconds>(deadline - Clock::now()), scenario::Milliseconds{0});
}

/// Waits until the timeline has more than that many entries. False when the deadline has passed before.
bool WaitForMore(std::size_t known, Clock::time_point deadline)
{
    const auto any = [](const TimelineEntry&)
    {
        return true;
    };
    return Timeline::Instance().WaitForCount(any, known + 1, Rest(deadline));
}

} // namespace

void ExpectationChecker::ActionBegins()
{
    actionBegin_ = Timeline::Instance().Entries().size();
}

void ExpectationChecker::Check(const scenario::Expectation& expectation)
{
    std::visit([this](const auto& kind) { this->Examine(kind); }, expectation);
}

void ExpectationChecker::CheckAtEnd() const
{
    for (const TimelineEntry& entry : Timeline::Instance().Entries())
    {
        for (const scenario::Event& event : never_)
        {
            if (Matches(event, entry))
            {
                throw ScenarioFailure("what must never happen has happened: " + entry.who + " " + Quoted(entry.what));
            }
        }
    }
}

void ExpectationChecker::Examine(const scenario::ExpectEvents& expectation) const
{
    const auto deadline = Clock::now() + expectation.within;
    std::size_t known = Timeline::Instance().Entries().size();
    std::size_t happened = EventsInOrder(expectation.events);
    while (happened < expectation.events.size() && WaitForMore(known, deadline))
    {
        known = Timeline::Instance().Entries().size();
        happened = EventsInOrder(expectation.events);
    }
    if (happened < expectation.events.size())
    {
        const scenario::Event& missing = expectation.events[happened];
        throw ScenarioFailure("this did not happen within " + std::to_string(expectation.within.count()) +
                              " ms: " + missing.who + " " + Quoted(missing.text) +
                              (happened > 0 ? " after the event before it" : ""));
    }
}

void ExpectationChecker::Examine(const scenario::ExpectCount& expectation) const
{
    const auto deadline = Clock::now() + expectation.watch;
    std::size_t known = Timeline::Instance().Entries().size();
    while (Count(expectation.event) <= expectation.count && WaitForMore(known, deadline))
    {
        known = Timeline::Instance().Entries().size();
    }
    const std::size_t count = Count(expectation.event);
    if (count != expectation.count)
    {
        throw ScenarioFailure("this happened " + std::to_string(count) + " times, not " +
                              std::to_string(expectation.count) + ": " + expectation.event.who + " " +
                              Quoted(expectation.event.text));
    }
}

void ExpectationChecker::Examine(const scenario::ExpectDefault& expectation) const
{
    const EDataFlow flow = expectation.capture ? eCapture : eRender;
    const ERole role = ToRole(expectation.role);
    if (!audio_.WaitForDefault(flow, role, expectation.endpoint, expectation.within))
    {
        const std::string is = audio_.Default(flow, role);
        throw ScenarioFailure("after " + std::to_string(expectation.within.count()) + " ms the default is " +
                              (is.empty() ? "none" : Quoted(is)));
    }
}

void ExpectationChecker::Examine(const scenario::ExpectEndpoint& expectation) const
{
    if (!audio_.WaitForState(expectation.endpoint, ToState(expectation.state), expectation.within))
    {
        throw ScenarioFailure("after " + std::to_string(expectation.within.count()) + " ms the endpoint " +
                              (audio_.HasEndpoint(expectation.endpoint)
                                   ? std::string("is ") + StateText(audio_.State(expectation.endpoint))
                                   : "does not exist"));
    }
}

void ExpectationChecker::Examine(const scenario::ExpectFeature& expectation) const
{
    const VynCore::VynDevice device = world_.Device(expectation.headset);
    const auto deadline = Clock::now() + expectation.within;
    std::int32_t state = host_.ReadState(device);
    while (state != expectation.state && Clock::now() < deadline)
    {
        std::this_thread::sleep_for(std::min(readInterval, Rest(deadline)));
        state = host_.ReadState(device);
    }
    if (state != expectation.state)
    {
        throw ScenarioFailure("after " + std::to_string(expectation.within.count()) + " ms the state is " +
                              std::to_string(state));
    }
}

void ExpectationChecker::Examine(const scenario::ExpectTip& expectation)
{
    const std::string after = "after " + std::to_string(expectation.within.count()) + " ms ";
    const std::optional<TipDescription> tip = TipsControl::WaitForShowing(expectation.within);
    if (!tip)
    {
        throw ScenarioFailure(after + "no tip is showing");
    }
    const std::string text = FieldText(*tip, expectation.field);
    if (!scenario::Matches(expectation.text, text))
    {
        throw ScenarioFailure("the tip has " + Quoted(text));
    }
}

void ExpectationChecker::Examine(const scenario::ExpectNoTip& expectation)
{
    if (!TipsControl::WaitForNoneShowing(expectation.within))
    {
        throw ScenarioFailure("after " + std::to_string(expectation.within.count()) + " ms a tip is still showing");
    }
}

void ExpectationChecker::Examine(const scenario::ExpectVolume& expectation) const
{
    if (!audio_.WaitForVolume(expectation.endpoint, expectation.level, expectation.within))
    {
        throw ScenarioFailure("after " + std::to_string(expectation.within.count()) + " ms the volume is " +
                              (audio_.HasEndpoint(expectation.endpoint) ? LevelText(audio_.Volume(expectation.endpoint))
                                                                        : "none, there is no such endpoint"));
    }
}

void ExpectationChecker::Examine(const scenario::ExpectTook& expectation) const
{
    if (lastActionTook_ < expectation.least || lastActionTook_ > expectation.most)
    {
        throw ScenarioFailure("the last action took " + std::to_string(lastActionTook_.count()) + " ms");
    }
}

std::size_t ExpectationChecker::EventsInOrder(const std::vector<scenario::Event>& events) const
{
    const std::vector<TimelineEntry> entries = Timeline::Instance().Entries();
    std::size_t happened = 0;
    for (std::size_t at = actionBegin_; at < entries.size() && happened < events.size(); ++at)
    {
        happened += Matches(events[happened], entries[at]) ? 1 : 0;
    }
    return happened;
}

std::size_t ExpectationChecker::Count(const scenario::Event& event) const
{
    const std::vector<TimelineEntry> entries = Timeline::Instance().Entries();
    const auto begin = entries.begin() + static_cast<std::ptrdiff_t>(actionBegin_);
    return static_cast<std::size_t>(
        std::count_if(begin, entries.end(), [&event](const TimelineEntry& entry) { return Matches(event, entry); }));
}

} // namespace sim
