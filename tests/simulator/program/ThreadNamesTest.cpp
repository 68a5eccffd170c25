#include "simulator/program/ThreadNames.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace sim
{

namespace
{

std::string NameOf(ThreadNames& names, std::uint32_t thread, const std::string& who, const std::string& what)
{
    return names.NameOf({std::chrono::nanoseconds(0), thread, who, what});
}

} // namespace

TEST(ThreadNames, LearnsThreadsByWhatTheyTell)
{
    ThreadNames names;
    EXPECT_EQ(NameOf(names, 1, "ipc", "deliver 12144176 10617832"), "ipc 12144176");
    EXPECT_EQ(NameOf(names, 2, "notify", "OnDeviceAdded Buds stereo"), "notify");
    EXPECT_EQ(NameOf(names, 3, "log3", "CooperateThreadFunc thread(X::CooperateThreadFunc)"), "worker");
    EXPECT_EQ(NameOf(names, 4, "service", "hello 1"), "service");
    EXPECT_EQ(NameOf(names, 5, "tips", "reply 9 \"secondBtn\""), "tips");
    EXPECT_EQ(NameOf(names, 6, "tips", "auto-closed"), "tips clock");
    EXPECT_EQ(NameOf(names, 7, "tips", "IsTipsExist"), "loop");
    EXPECT_EQ(NameOf(names, 8, "audio", "CoCreateInstance MMDeviceEnumerator -> 0x00000000"), "loop");
}

TEST(ThreadNames, KeepsWhatItHasLearnt)
{
    ThreadNames names;
    NameOf(names, 2, "notify", "OnDeviceAdded Buds stereo");
    EXPECT_EQ(NameOf(names, 2, "log3", "something"), "notify");
    EXPECT_EQ(NameOf(names, 2, "ipc", "deliver 7 8"), "notify");
    EXPECT_EQ(NameOf(names, 2, "audio", "CoCreateInstance MMDeviceEnumerator -> 0x00000000"), "notify");
}

TEST(ThreadNames, NumbersUnknownThreads)
{
    ThreadNames names;
    EXPECT_EQ(NameOf(names, 5, "ipc", "PostMsg 12144176 1 2"), "thread 5");
    EXPECT_EQ(NameOf(names, 5, "log3", "something"), "thread 5");
    EXPECT_EQ(NameOf(names, 5, "ipc", "deliver 9 1"), "ipc 9");
}

TEST(ThreadNames, TakesTheNameThatAThreadGivesItself)
{
    ThreadNames names;
    names.NameThisThread("host");
    EXPECT_EQ(NameOf(names, GetCurrentThreadId(), "ipc", "deliver 7 8"), "host");
}

} // namespace sim
