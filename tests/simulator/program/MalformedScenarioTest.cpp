#include "simulator/program/scenario/Scenario.h"

#include <gtest/gtest.h>

namespace sim::scenario
{

namespace
{

constexpr std::string_view declarations = "speaker \"Speakers\"\n"
                                          "headset \"Buds\" address 0A1B2C3D4E5F\n";

struct Malformed
{
    const char* line;
    const char* message;
};

class MalformedScenario : public testing::TestWithParam<Malformed>
{
};

} // namespace

TEST_P(MalformedScenario, IsRefusedWithAMessageThatSaysWhy)
{
    const Scenario scenario = ParseScenario(std::string(declarations) + GetParam().line);
    ASSERT_EQ(scenario.complaints.size(), 1U) << GetParam().line;
    EXPECT_EQ(scenario.complaints[0].line, 3U);
    EXPECT_EQ(scenario.complaints[0].message, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, MalformedScenario,
    testing::Values(
        Malformed{"dance", "expected a statement (speaker, microphone, headset, service, host, endpoint, call, calls, "
                           "user, tips, strings, after, wait or expect) but there is \"dance\""},
        Malformed{"service", "expected what the service does (starts, stops) where the line ends"},
        Malformed{"service sleeps", "expected what the service does (starts, stops) but there is \"sleeps\""},
        Malformed{"service starts now", "expected the end of the line but there is \"now\""},
        Malformed{"host enables", "expected the headset's name in quotes where the line ends"},
        Malformed{"host enables Buds", "expected the headset's name in quotes but there is \"Buds\""},
        Malformed{"host enables \"Bads\"", "no headset \"Bads\" has been declared above"},
        Malformed{"headset \"Bads\" connects", "no headset \"Bads\" has been declared above"},
        Malformed{
            "headset \"Buds\" sings",
            "expected what the headset does (connects, disconnects, sends event, moves to, follows its endpoints; or "
            "its address, to declare it) but there is \"sings\""},
        Malformed{"headset \"Buds\" connects with endpoints after \"x\"",
                  "expected a time of at most an hour, such as 200ms or 1.5s, but there is the text \"x\""},
        Malformed{"headset \"Buds\" sends event -1", "expected the event's type, a number, but there is \"-1\""},
        Malformed{"headset \"Buds\" address 0A1B2C3D4E50", "there is a headset \"Buds\" already"},
        Malformed{"headset \"Pods\" address 0A1B2C3D4E5F", "there is a headset of that address already"},
        Malformed{"headset \"Pods\" address 0A1B2C",
                  "\"0A1B2C\" is no Bluetooth address: it has to be 12 hexadecimal digits"},
        Malformed{"headset \"Pods\" address 0A1B2C3D4E5G",
                  "\"0A1B2C3D4E5G\" is no Bluetooth address: it has to be 12 hexadecimal digits"},
        Malformed{"microphone \"Speakers\"", "there is an endpoint \"Speakers\" already"},
        Malformed{"speaker \"Boxes", "the quoted text does not end: \"Boxes"},
        Malformed{"endpoint \"Buds\" becomes active",
                  "there is no endpoint \"Buds\"; so far there are \"Buds hands-free\", \"Buds microphone\", "
                  "\"Buds stereo\", \"Speakers\""},
        Malformed{"endpoint \"Buds stereo\" becomes loud",
                  "expected the endpoint's state (active, disabled, not present, unplugged) but there is \"loud\""},
        Malformed{"endpoint \"Buds stereo\" becomes default",
                  "expected the role (console, multimedia, communications) where the line ends"},
        Malformed{"call 0 of \"X\" fails", "calls are counted from 1"},
        Malformed{"call x of \"X\" fails", "expected the call's number, 1 for the next one, but there is \"x\""},
        Malformed{"calls of \"X\" fail with 5", "\"5\" is no result: it has to be 0x and up to 8 hexadecimal digits"},
        Malformed{"calls of \"X\" fail with 0x", "\"0x\" is no result: it has to be 0x and up to 8 hexadecimal digits"},
        Malformed{"call 1 of \"X\" throws with 0x1", "expected the end of the line but there is \"with\""},
        Malformed{"calls of \"X\" throws", "expected \"fail\" but there is \"throws\""},
        Malformed{"user", "expected what the user does (clicks first button, clicks second button, closes tip, "
                          "answers, sets volume of) where the line ends"},
        Malformed{"user clicks third button",
                  "expected what the user does (clicks first button, clicks second button, closes tip, answers, sets "
                  "volume of) but there is \"clicks\""},
        Malformed{"user clicks first button twice", "expected the end of the line but there is \"twice\""},
        Malformed{"user answers -1 \"x\"", "expected the reply event's number but there is \"-1\""},
        Malformed{"user answers 9", "expected the parameter in quotes where the line ends"},
        Malformed{"user answers 9 secondBtn", "expected the parameter in quotes but there is \"secondBtn\""},
        Malformed{"user sets volume of \"Boxes\" to 0.5",
                  "there is no endpoint \"Boxes\"; so far there are \"Buds hands-free\", \"Buds microphone\", "
                  "\"Buds stereo\", \"Speakers\""},
        Malformed{"user sets volume of \"Speakers\" 0.5", "expected \"to\" but there is \"0.5\""},
        Malformed{"user sets volume of \"Speakers\" to",
                  "expected a level from 0 to 1, such as 0.32, where the line ends"},
        Malformed{"user sets volume of \"Speakers\" to 1.01",
                  "expected a level from 0 to 1, such as 0.32, but there is \"1.01\""},
        Malformed{"user sets volume of \"Speakers\" to -0.1",
                  "expected a level from 0 to 1, such as 0.32, but there is \"-0.1\""},
        Malformed{"user sets volume of \"Speakers\" to 0.5x",
                  "expected a level from 0 to 1, such as 0.32, but there is \"0.5x\""},
        Malformed{"user sets volume of \"Speakers\" to nan",
                  "expected a level from 0 to 1, such as 0.32, but there is \"nan\""},
        Malformed{"tips fail", "expected what tips do (work, have no manager, cannot be created, answer inside Show) "
                               "but there is \"fail\""},
        Malformed{"tips answer inside Show", "expected \"with\" where the line ends"},
        Malformed{"tips answer inside Show with \"x\"",
                  "expected the reply event's number but there is the text \"x\""},
        Malformed{"strings in tlh", "expected which strings (in en, in de, without) but there is \"in\""},
        Malformed{"strings without {1}", "expected the placeholder in quotes but there is \"{1}\""},
        Malformed{"after 1s service starts", "expected \":\" but there is \"service\""},
        Malformed{"after soon: service starts",
                  "expected who tells the event (log3, log4, host, ipc, service, audio, notify, tips, card, keys, "
                  "strings, fault, scenario) but there is \"soon\""},
        Malformed{"after 1s: wait 1s", "expected an action (service, host, headset, endpoint, call, calls, user, tips "
                                       "or strings) but there is \"wait\""},
        Malformed{"wait", "expected a time of at most an hour, such as 200ms or 1.5s, where the line ends"},
        Malformed{"wait 3", "expected a time of at most an hour, such as 200ms or 1.5s, but there is \"3\""},
        Malformed{"wait -3s", "expected a time of at most an hour, such as 200ms or 1.5s, but there is \"-3s\""},
        Malformed{"wait 3601s", "expected a time of at most an hour, such as 200ms or 1.5s, but there is \"3601s\""},
        Malformed{"expect", "expected what is expected (an event, no, never, exactly, default, endpoint, state of, "
                            "volume of, tip, no tip or took) where the line ends"},
        Malformed{"expect host \"A\" then", "expected who tells the event (log3, log4, host, ipc, service, audio, "
                                            "notify, tips, card, keys, strings, fault, scenario) where the line ends"},
        Malformed{"expect default console is \"Speakers\"",
                  "expected the direction (render, capture) but there is \"is\""},
        Malformed{"expect default console render is \"Boxes\"",
                  "there is no endpoint \"Boxes\"; so far there are \"Buds hands-free\", \"Buds microphone\", "
                  "\"Buds stereo\", \"Speakers\""},
        Malformed{"expect state of \"Buds\" is on", "expected the state, a number but there is \"on\""},
        Malformed{"expect volume of \"Speakers\" is loud",
                  "expected a level from 0 to 1, such as 0.32, but there is \"loud\""},
        Malformed{"expect volume of \"Speakers\"", "expected \"is\" where the line ends"},
        Malformed{"expect tip",
                  "expected the tip's field (icon, title, content, first button, second button) where the "
                  "line ends"},
        Malformed{"expect tip colour \"red\"",
                  "expected the tip's field (icon, title, content, first button, second button) but there is "
                  "\"colour\""},
        Malformed{"expect tip title", "expected the field's text in quotes where the line ends"},
        Malformed{"expect no tip for 1s", "expected the end of the line but there is \"for\""},
        Malformed{"expect took 3s to 2s", "the longest time is less than the shortest one"},
        Malformed{"expect exactly host \"A\"", "expected how many but there is \"host\""}));

TEST(Scenario, TellsEveryLineThatIsWrong)
{
    const Scenario scenario = ParseScenario("service sleeps\nservice starts\nwait\n");
    ASSERT_EQ(scenario.complaints.size(), 2U);
    EXPECT_EQ(scenario.complaints[0].line, 1U);
    EXPECT_EQ(scenario.complaints[1].line, 3U);
    ASSERT_EQ(scenario.lines.size(), 1U);
}

TEST(Scenario, DeclaresNothingByALineThatIsWrong)
{
    const Scenario scenario = ParseScenario("headset \"Buds\" address 0A1B2C3D4E5F again\nheadset \"Buds\" connects\n");
    ASSERT_EQ(scenario.complaints.size(), 2U);
    EXPECT_EQ(scenario.complaints[1].message, "no headset \"Buds\" has been declared above");
}

} // namespace sim::scenario
