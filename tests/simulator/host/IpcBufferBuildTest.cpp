#include "ipc/IpcBufferBuild.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

TEST(IpcBufferBuild, FillsTheBufferFromItsBegin)
{
    std::array<char, 8> buffer{};
    IpcBufferBuild channel(buffer.data(), 8, false);
    EXPECT_EQ(channel.Write("abc", 3), 3);
    EXPECT_EQ(channel.Write("de", 2), 2);
    EXPECT_EQ(std::string(buffer.data(), 8), std::string("abcde\0\0\0", 8));
}

TEST(IpcBufferBuild, WritesNothingOfWhatDoesNotFit)
{
    std::array<char, 4> buffer{};
    IpcBufferBuild channel(buffer.data(), 3, false);
    EXPECT_EQ(channel.Write("ab", 2), 2);
    EXPECT_LT(channel.Write("cd", 2), 0);
    EXPECT_LT(channel.Write("c", 0xFFFFFFFFU), 0);
    EXPECT_EQ(channel.Write("c", 1), 1);
    EXPECT_LT(channel.Write("d", 1), 0);
    EXPECT_EQ(std::string(buffer.data(), 4), std::string("abc\0", 4));
}

TEST(IpcBufferBuild, ReadsWhatTheBufferHolds)
{
    std::array<char, 4> buffer{'a', 'b', 'c', 'd'};
    IpcBufferBuild channel(buffer.data(), 3, true);
    std::array<char, 4> read{};
    EXPECT_EQ(channel.Remaining(), 3U);
    EXPECT_EQ(channel.Read(read.data(), 2), 2);
    EXPECT_EQ(channel.Remaining(), 1U);
    EXPECT_LT(channel.Read(read.data() + 2, 2), 0);
    EXPECT_LT(channel.Read(read.data() + 2, 0xFFFFFFFFU), 0);
    EXPECT_EQ(channel.Remaining(), 1U);
    EXPECT_EQ(channel.Read(read.data() + 2, 1), 1);
    EXPECT_EQ(channel.Remaining(), 0U);
    EXPECT_EQ(std::string(read.data(), 4), std::string("abc\0", 4));
}

TEST(IpcBufferBuild, IsEitherReadOrWritten)
{
    std::array<char, 4> buffer{'a', 'b', 'c', 'd'};
    IpcBufferBuild reading(buffer.data(), 4, true);
    EXPECT_LT(reading.Write("x", 1), 0);
    EXPECT_EQ(std::string(buffer.data(), 4), "abcd");
    IpcBufferBuild writing(buffer.data(), 4, false);
    char read = '-';
    EXPECT_LT(writing.Read(&read, 1), 0);
    EXPECT_EQ(writing.Remaining(), 0U);
    EXPECT_EQ(read, '-');
}

TEST(IpcBufferBuild, TakesNoBufferForAnEmptyOne)
{
    IpcBufferBuild reading(nullptr, 16, true);
    IpcBufferBuild writing(nullptr, 16, false);
    char read = '-';
    EXPECT_EQ(reading.Remaining(), 0U);
    EXPECT_LT(reading.Read(&read, 1), 0);
    EXPECT_LT(writing.Write("x", 1), 0);
}
