#include "simulator/run/TraceFile.h"

#include "simulator/run/FactsJson.h"
#include "tests/simulator/run/Records.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

namespace sim
{

namespace
{

RecordBuilder Sample()
{
    RecordBuilder run;
    run.Change(0, "endpoint", "Speakers", "active");
    run.Change(0, "volume", "Speakers", "0.5");
    run.Add(1, "host", "scenario", "acts", {.kind = "action", .gives = 1});
    run.Add(2, "notify", "notify", "notified", {.kind = "state notification", .cause = 1});
    run.Add(1500, "loop", "log3", "SetSpeakerVolume Success(X)");
    run.Wait(2, 102, "notify", "Sleep", 100);
    return run;
}

Json TraceOf(const RecordBuilder& run)
{
    return Json::parse(MakeTrace(run.Record(), TellStory(run.Record())));
}

std::vector<Json> Events(const Json& trace, const std::string& phase)
{
    std::vector<Json> events;
    for (const Json& event : trace.at("traceEvents"))
    {
        if (event.at("ph") == phase)
        {
            events.push_back(event);
        }
    }
    return events;
}

} // namespace

TEST(TraceFile, NamesThreadsAndTheRun)
{
    const std::vector<Json> events = Events(TraceOf(Sample()), "M");
    EXPECT_EQ(events.at(0).at("name"), "process_name");
    EXPECT_EQ(events.at(0).at("args").at("name"), "test.scn");
    EXPECT_EQ(events.at(1).at("name"), "thread_name");
    EXPECT_EQ(events.at(1).at("args").at("name"), "host");
}

TEST(TraceFile, EntriesAndWaitsAreDurationsThatDoNotOverlap)
{
    const std::vector<Json> events = Events(TraceOf(Sample()), "X");
    ASSERT_EQ(events.size(), 4U);
    EXPECT_EQ(events[1].at("name"), "notified");
    EXPECT_EQ(events[1].at("ts"), 2000.0);
    EXPECT_EQ(events[1].at("dur"), 1.0); // the wait of that thread begins at the same moment, and encloses it
    EXPECT_EQ(events[3].at("name"), "100 ms for the endpoint to settle");
    EXPECT_EQ(events[3].at("ts"), 2000.0);
    EXPECT_EQ(events[3].at("dur"), 100000.0);
    EXPECT_EQ(events[3].at("tid"), events[1].at("tid"));
}

TEST(TraceFile, ArrowsAreFlowsFromCauseToEffect)
{
    const Json trace = TraceOf(Sample());
    const Json begin = Events(trace, "s").at(0);
    const Json end = Events(trace, "f").at(0);
    EXPECT_EQ(begin.at("ts"), 1000.0);
    EXPECT_EQ(end.at("ts"), 2000.0);
    EXPECT_EQ(begin.at("id"), end.at("id"));
    EXPECT_EQ(begin.at("cat"), end.at("cat"));
    EXPECT_EQ(begin.at("name"), end.at("name"));
    EXPECT_EQ(end.at("bp"), "e");
    EXPECT_NE(begin.at("tid"), end.at("tid"));
}

TEST(TraceFile, StatesAreAsynchronousAndVolumesCounters)
{
    const Json trace = TraceOf(Sample());
    EXPECT_EQ(Events(trace, "b").at(0).at("name"), "active");
    EXPECT_EQ(Events(trace, "e").at(0).at("ts"), 1500000.0);
    EXPECT_EQ(Events(trace, "b").at(0).at("id"), Events(trace, "e").at(0).at("id"));
    EXPECT_EQ(Events(trace, "C").at(0).at("args").at("level"), 0.5);
}

TEST(LinesFile, HasAnObjectInEachLine)
{
    const RecordBuilder run = Sample();
    std::istringstream lines(MakeLines(run.Record(), TellStory(run.Record())));
    std::vector<Json> objects;
    for (std::string line; std::getline(lines, line);)
    {
        objects.push_back(Json::parse(line));
    }
    ASSERT_EQ(objects.size(), 8U);
    EXPECT_EQ(objects[0],
              Json::parse(R"({"type":"run","format":1,"title":"test.scn","held":true,"expectations":3,"end":1.5})"));
    EXPECT_EQ(objects[2], Json::parse(R"({"type":"entry","number":1,"time":0.002,"thread":"notify","threadId":7,)"
                                      R"("teller":"notify","text":"notified","named":"notified",)"
                                      R"("kind":"state notification","values":{},"cause":0})"));
    EXPECT_EQ(objects[4], Json::parse(R"({"type":"arrow","from":0,"to":1,"kind":"notification"})"));
    EXPECT_EQ(objects[5], Json::parse(R"({"type":"wait","begin":0.002,"end":0.102,"thread":"notify",)"
                                      R"("text":"100 ms for the endpoint to settle"})"));
    EXPECT_EQ(objects[6].at("type"), "state");
}

} // namespace sim
