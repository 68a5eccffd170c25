#include "simulator/program/scenario/Scenario.h"

#include <gmock/gmock.h>

#include <cstdint>

namespace sim::scenario
{

namespace
{

using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

constexpr std::string_view sceneLines = "speaker \"Speakers\"\n"
                                        "headset \"Buds\" address 0A1B2C3D4E5F\n"
                                        "headset \"Mono\" address 00000000000A without hands-free\n";

/// The statement of a line that follows the declarations.
Statement Parse(std::string_view line)
{
    const Scenario scenario = ParseScenario(std::string(sceneLines) + std::string(line));
    EXPECT_THAT(scenario.complaints, IsEmpty()) << scenario.complaints.front().message;
    EXPECT_EQ(scenario.lines.size(), 4U);
    return scenario.lines.back().statement;
}

template <typename Kind> Kind ParseAction(std::string_view line)
{
    return std::get<Kind>(std::get<Action>(Parse(line)));
}

template <typename Kind> Kind ParseExpectation(std::string_view line)
{
    return std::get<Kind>(std::get<Expectation>(Parse(line)));
}

testing::Matcher<Event> IsEvent(const std::string& who, const std::string& text)
{
    return testing::AllOf(Field(&Event::who, who), Field(&Event::text, text));
}

} // namespace

TEST(StatementParser, DeclaresTheComputersOwnEndpoints)
{
    const Scenario scenario = ParseScenario("speaker \"Speakers\"\nmicrophone \"Array\"");
    ASSERT_THAT(scenario.complaints, IsEmpty());
    ASSERT_EQ(scenario.lines.size(), 2U);
    EXPECT_EQ(std::get<BuiltIn>(scenario.lines[0].statement).name, "Speakers");
    EXPECT_FALSE(std::get<BuiltIn>(scenario.lines[0].statement).capture);
    EXPECT_EQ(std::get<BuiltIn>(scenario.lines[1].statement).name, "Array");
    EXPECT_TRUE(std::get<BuiltIn>(scenario.lines[1].statement).capture);
}

TEST(StatementParser, DeclaresHeadsets)
{
    const Scenario scenario = ParseScenario(sceneLines);
    const auto buds = std::get<Headset>(scenario.lines[1].statement);
    EXPECT_EQ(buds.name, "Buds");
    EXPECT_EQ(buds.address, 11111822610015U);
    EXPECT_TRUE(buds.handsFree);
    const auto mono = std::get<Headset>(scenario.lines[2].statement);
    EXPECT_EQ(mono.address, 10U);
    EXPECT_FALSE(mono.handsFree);
}

TEST(StatementParser, ReadsServiceActions)
{
    EXPECT_EQ(ParseAction<ServiceAction>("service starts").verb, ServiceVerb::Start);
    EXPECT_EQ(ParseAction<ServiceAction>("service stops").verb, ServiceVerb::Stop);
}

TEST(StatementParser, ReadsHostActions)
{
    EXPECT_EQ(ParseAction<HostAction>("host creates plugin").verb, HostVerb::CreatePlugin);
    EXPECT_EQ(ParseAction<HostAction>("host inits plugin").verb, HostVerb::InitPlugin);
    EXPECT_EQ(ParseAction<HostAction>("host uninits plugin").verb, HostVerb::UnInitPlugin);
    EXPECT_EQ(ParseAction<HostAction>("host destroys plugin").verb, HostVerb::DestroyPlugin);
    EXPECT_EQ(ParseAction<HostAction>("host queries devices").verb, HostVerb::QueryDevices);
    EXPECT_EQ(ParseAction<HostAction>("host queries devices").headset, "");
}

TEST(StatementParser, ReadsHostActionsOnHeadsets)
{
    EXPECT_EQ(ParseAction<HostAction>("host enables \"Buds\"").verb, HostVerb::Enable);
    EXPECT_EQ(ParseAction<HostAction>("host disables \"Mono\"").verb, HostVerb::Disable);
    EXPECT_EQ(ParseAction<HostAction>("host disables \"Mono\"").headset, "Mono");
    EXPECT_EQ(ParseAction<HostAction>("host connects \"Buds\"").verb, HostVerb::Connect);
    EXPECT_EQ(ParseAction<HostAction>("host reads state of \"Buds\"").verb, HostVerb::ReadState);
}

TEST(StatementParser, ReadsConnectionsOfHeadsets)
{
    const auto plain = ParseAction<HeadsetConnects>("headset \"Buds\" connects");
    EXPECT_EQ(plain.headset, "Buds");
    EXPECT_TRUE(plain.endpoints);
    EXPECT_EQ(plain.endpointsAfter, Milliseconds(0));
    const auto late = ParseAction<HeadsetConnects>("headset \"Buds\" connects with endpoints after 1.25s");
    EXPECT_TRUE(late.endpoints);
    EXPECT_EQ(late.endpointsAfter, Milliseconds(1250));
    EXPECT_FALSE(ParseAction<HeadsetConnects>("headset \"Buds\" connects without endpoints").endpoints);
    EXPECT_EQ(ParseAction<HeadsetDisconnects>("headset \"Mono\" disconnects").headset, "Mono");
}

TEST(StatementParser, ReadsOtherMessagesOfHeadsets)
{
    EXPECT_EQ(ParseAction<HeadsetEvent>("headset \"Buds\" sends event 102").type, 102);
    EXPECT_EQ(ParseAction<HeadsetFollows>("headset \"Buds\" follows its endpoints").headset, "Buds");
    EXPECT_EQ(ParseAction<HeadsetMoves>("headset \"Buds\" moves to \"Phone: red # 1\"").toDevice, "Phone: red # 1");
}

TEST(StatementParser, ReadsChangesOfEndpoints)
{
    const auto change = ParseAction<ChangeEndpoint>("endpoint \"Buds microphone\" becomes not present");
    EXPECT_EQ(change.endpoint, "Buds microphone");
    EXPECT_EQ(change.state, EndpointState::NotPresent);
    const auto chosen = ParseAction<ChangeDefault>("endpoint \"Mono stereo\" becomes default communications");
    EXPECT_EQ(chosen.endpoint, "Mono stereo");
    EXPECT_EQ(chosen.role, Role::Communications);
}

TEST(StatementParser, ReadsFaults)
{
    const auto all = ParseAction<FailCalls>("calls of \"IPropertyStore::\" fail");
    EXPECT_EQ(all.prefix, "IPropertyStore::");
    EXPECT_EQ(all.nth, 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(all.result), 0x80004005U);
    const auto third = ParseAction<FailCalls>("call 3 of \"IMMDevice::GetId\" fails with 0x80070005");
    EXPECT_EQ(third.nth, 3U);
    EXPECT_EQ(static_cast<std::uint32_t>(third.result), 0x80070005U);
    ParseAction<SucceedCalls>("calls succeed");
}

TEST(StatementParser, ReadsCallsThatThrow)
{
    const auto all = ParseAction<ThrowFromCalls>("calls of \"IMMDevice::GetId\" throw");
    EXPECT_EQ(all.call, "IMMDevice::GetId");
    EXPECT_EQ(all.nth, 0U);
    EXPECT_EQ(ParseAction<ThrowFromCalls>("call 3 of \"IMMDevice::GetId\" throws").nth, 3U);
}

TEST(StatementParser, ReadsWhatTheUserDoes)
{
    const auto first = ParseAction<AnswerTip>("user clicks first button");
    EXPECT_EQ(first.event, 9);
    EXPECT_EQ(first.param, "firstBtn");
    EXPECT_EQ(ParseAction<AnswerTip>("user clicks second button").param, "secondBtn");
    EXPECT_EQ(ParseAction<AnswerTip>("user closes tip").param, "closeBtn");
    EXPECT_EQ(ParseAction<AnswerTip>("user closes tip").event, 9);
    const auto other = ParseAction<AnswerTip>("user answers 3 \"SecondBtn\"");
    EXPECT_EQ(other.event, 3);
    EXPECT_EQ(other.param, "SecondBtn");
    const auto volume = ParseAction<ChangeVolume>("user sets volume of \"Buds stereo\" to 0.301");
    EXPECT_EQ(volume.endpoint, "Buds stereo");
    EXPECT_EQ(volume.level, 0.301F);
    EXPECT_EQ(ParseAction<ChangeVolume>("user sets volume of \"Speakers\" to 1").level, 1.0F);
}

TEST(StatementParser, ReadsWhatGoesWrongWithTips)
{
    EXPECT_EQ(ParseAction<TipsBehave>("tips work").fault, TipsFault::None);
    EXPECT_EQ(ParseAction<TipsBehave>("tips have no manager").fault, TipsFault::NoManager);
    EXPECT_EQ(ParseAction<TipsBehave>("tips cannot be created").fault, TipsFault::CannotBeCreated);
    const auto inside = ParseAction<TipsBehave>("tips answer inside Show with 9 \"secondBtn\"");
    EXPECT_EQ(inside.fault, TipsFault::AnswerInsideShow);
    EXPECT_EQ(inside.answer.event, 9);
    EXPECT_EQ(inside.answer.param, "secondBtn");
}

TEST(StatementParser, ReadsWhichStringsThereAre)
{
    EXPECT_EQ(ParseAction<ChangeCulture>("strings in en").culture, "en");
    EXPECT_EQ(ParseAction<ChangeCulture>("strings in de").culture, "de");
    EXPECT_EQ(ParseAction<LosePlaceholder>("strings without \"{1}\"").placeholder, "{1}");
}

TEST(StatementParser, DefersWhatTheUserDoes)
{
    const auto deferred = std::get<Deferred>(Parse("after tips \"Show\": user clicks second button"));
    EXPECT_EQ(std::get<AnswerTip>(deferred.action).param, "secondBtn");
}

TEST(StatementParser, DefersActionsByTimeOrEvent)
{
    const auto timed = std::get<Deferred>(Parse("after 500ms: service starts"));
    EXPECT_EQ(std::get<Milliseconds>(timed.trigger), Milliseconds(500));
    EXPECT_EQ(std::get<ServiceAction>(timed.action).verb, ServiceVerb::Start);
    const auto triggered = std::get<Deferred>(Parse("after log3 \"Init*\": headset \"Buds\" disconnects"));
    EXPECT_THAT(std::get<Event>(triggered.trigger), IsEvent("log3", "Init*"));
    EXPECT_EQ(std::get<HeadsetDisconnects>(triggered.action).headset, "Buds");
}

TEST(StatementParser, ReadsWaits)
{
    EXPECT_EQ(std::get<Wait>(Parse("wait 2s")).time, Milliseconds(2000));
}

TEST(StatementParser, ReadsExpectedEvents)
{
    const auto one = ParseExpectation<ExpectEvents>("expect host \"X 1\"");
    EXPECT_THAT(one.events, ElementsAre(IsEvent("host", "X 1")));
    EXPECT_EQ(one.within, Milliseconds(15000));
    const auto chain = ParseExpectation<ExpectEvents>("expect audio \"A\" then notify then host \"B\" within 3s");
    EXPECT_THAT(chain.events, ElementsAre(IsEvent("audio", "A"), IsEvent("notify", "*"), IsEvent("host", "B")));
    EXPECT_EQ(chain.within, Milliseconds(3000));
}

TEST(StatementParser, PutsKeysOfHeadsetsIntoTexts)
{
    const auto expectation = ParseExpectation<ExpectEvents>("expect host \"On {Buds} {Mono} {Other} 0\"");
    EXPECT_THAT(expectation.events, ElementsAre(IsEvent("host", "On 11111822610015 10 {Other} 0")));
}

TEST(StatementParser, ReadsExpectedCounts)
{
    const auto none = ParseExpectation<ExpectCount>("expect no log4 for 2s");
    EXPECT_EQ(none.count, 0U);
    EXPECT_EQ(none.watch, Milliseconds(2000));
    EXPECT_THAT(none.event, IsEvent("log4", "*"));
    const auto two = ParseExpectation<ExpectCount>("expect exactly 2 host \"X\"");
    EXPECT_EQ(two.count, 2U);
    EXPECT_EQ(two.watch, Milliseconds(0));
    EXPECT_THAT(ParseExpectation<ExpectNever>("expect never log4 \"X*\"").event, IsEvent("log4", "X*"));
}

TEST(StatementParser, ReadsExpectedStates)
{
    const auto render = ParseExpectation<ExpectDefault>("expect default console render is \"Buds stereo\" within 4s");
    EXPECT_EQ(render.role, Role::Console);
    EXPECT_FALSE(render.capture);
    EXPECT_EQ(render.endpoint, "Buds stereo");
    EXPECT_EQ(render.within, Milliseconds(4000));
    EXPECT_EQ(ParseExpectation<ExpectDefault>("expect default communications capture is none").endpoint, "");
    const auto hidden = ParseExpectation<ExpectEndpoint>("expect endpoint \"Buds hands-free\" is disabled");
    EXPECT_EQ(hidden.state, EndpointState::Disabled);
    EXPECT_EQ(hidden.within, Milliseconds(15000));
    EXPECT_EQ(ParseExpectation<ExpectFeature>("expect state of \"Buds\" is 3").state, 3);
}

TEST(StatementParser, ReadsExpectedTips)
{
    const auto content = ParseExpectation<ExpectTip>("expect tip content \"The*\" within 3s");
    EXPECT_EQ(content.field, TipField::Content);
    EXPECT_EQ(content.text, "The*");
    EXPECT_EQ(content.within, Milliseconds(3000));
    EXPECT_EQ(ParseExpectation<ExpectTip>("expect tip icon \"\"").field, TipField::Icon);
    EXPECT_EQ(ParseExpectation<ExpectTip>("expect tip title \"\"").field, TipField::Title);
    EXPECT_EQ(ParseExpectation<ExpectTip>("expect tip first button \"\"").field, TipField::FirstButton);
    EXPECT_EQ(ParseExpectation<ExpectTip>("expect tip second button \"\"").field, TipField::SecondButton);
    EXPECT_EQ(ParseExpectation<ExpectNoTip>("expect no tip").within, Milliseconds(15000));
    EXPECT_EQ(ParseExpectation<ExpectNoTip>("expect no tip within 1s").within, Milliseconds(1000));
    EXPECT_EQ(ParseExpectation<ExpectCount>("expect no tips").count, 0U);
}

TEST(StatementParser, ReadsExpectedVolumes)
{
    const auto volume = ParseExpectation<ExpectVolume>("expect volume of \"Speakers\" is 0.32 within 3s");
    EXPECT_EQ(volume.endpoint, "Speakers");
    EXPECT_EQ(volume.level, 0.32F);
    EXPECT_EQ(volume.within, Milliseconds(3000));
}

TEST(StatementParser, ReadsEventsOfEveryTeller)
{
    for (const std::string who : {"tips", "card", "keys", "strings", "fault"})
    {
        EXPECT_THAT(ParseExpectation<ExpectEvents>("expect " + who).events, ElementsAre(IsEvent(who, "*")));
    }
}

TEST(StatementParser, ReadsExpectedDurations)
{
    const auto took = ParseExpectation<ExpectTook>("expect took 5.9s to 9s");
    EXPECT_EQ(took.least, Milliseconds(5900));
    EXPECT_EQ(took.most, Milliseconds(9000));
}

TEST(Scenario, SkipsBlankLinesAndCommentsAndKeepsLineNumbers)
{
    const Scenario scenario = ParseScenario("\xEF\xBB\xBF# a comment\r\n\r\n  service starts  # another\r\n\twait 1ms");
    ASSERT_THAT(scenario.complaints, IsEmpty());
    ASSERT_EQ(scenario.lines.size(), 2U);
    EXPECT_EQ(scenario.lines[0].number, 3U);
    EXPECT_EQ(scenario.lines[0].text, "service starts  # another");
    EXPECT_EQ(scenario.lines[1].number, 4U);
}

TEST(Scenario, NothingIsAnEmptyScenario)
{
    EXPECT_THAT(ParseScenario("").lines, IsEmpty());
    EXPECT_THAT(ParseScenario("").complaints, IsEmpty());
}

} // namespace sim::scenario
