#include "simulator/program/TimelinePrinter.h"

#include <chrono>

#include <gtest/gtest.h>

namespace sim
{

namespace
{

constexpr std::chrono::milliseconds time{12345};

std::string Printed(TimelinePrinter& printer, const TimelineEntry& entry)
{
    testing::internal::CaptureStdout();
    printer.Print(entry);
    return testing::internal::GetCapturedStdout();
}

} // namespace

TEST(TimelinePrinter, PrintsTimeThreadTellerAndText)
{
    ThreadNames names;
    TimelinePrinter printer(names, true, {});
    EXPECT_EQ(Printed(printer, {time, 7, "audio", "SetDefaultEndpoint Buds stereo 0"}),
              "  12.345  thread 7       audio     SetDefaultEndpoint Buds stereo 0\n");
}

TEST(TimelinePrinter, PutsNamesBeforeNumbersAndKeepsTheColumns)
{
    ThreadNames names;
    TimelinePrinter printer(names, true, {});
    EXPECT_EQ(Printed(printer, {time, 7, "ipc", "deliver 12144176 10617840"}),
              "  12.345  ipc connecter  ipc       deliver connecter 12144176 connect-state 10617840\n");
}

TEST(TimelinePrinter, ColoursUnlessPlain)
{
    ThreadNames names;
    TimelinePrinter printer(names, false, {});
    EXPECT_EQ(Printed(printer, {time, 7, "log4", "failed"}),
              "  12.345  thread 7       \x1b[1;31mlog4      failed\x1b[0m\n");
}

TEST(TimelinePrinter, LeavesOutWhatIsHiddenButLearnsThreadsByIt)
{
    ThreadNames names;
    TimelinePrinter printer(names, true, {"notify"});
    EXPECT_EQ(Printed(printer, {time, 7, "notify", "OnDeviceAdded Buds stereo"}), "");
    EXPECT_EQ(Printed(printer, {time, 7, "log3", "X"}), "  12.345  notify         log3      X\n");
}

} // namespace sim
