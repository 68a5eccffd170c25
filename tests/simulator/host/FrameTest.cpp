#include "simulator/host/wire/Frame.h"
#include "simulator/timeline/Cause.h"

#include <gtest/gtest.h>

#include <cstddef>

using sim::Frame;
using sim::FrameKind;
using sim::FrameParser;

namespace
{

Frame Sample()
{
    return {.kind = FrameKind::Message,
            .clientId = 7,
            .moduleId = -2,
            .messageId = 0xA203F0,
            .dataLength = -1,
            .hasData = true,
            .payload = "abc"};
}

} // namespace

TEST(Frame, ComesOutAsItWentInWhenFedByteByByte)
{
    const std::string bytes = sim::EncodeFrame(Sample());
    FrameParser parser;
    for (std::size_t index = 0; index + 1 < bytes.size(); ++index)
    {
        parser.Feed(&bytes[index], 1);
        ASSERT_FALSE(parser.Next()) << index;
    }
    parser.Feed(&bytes.back(), 1);
    const auto frame = parser.Next();
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->kind, FrameKind::Message);
    EXPECT_EQ(frame->clientId, 7);
    EXPECT_EQ(frame->moduleId, -2);
    EXPECT_EQ(frame->messageId, 10617840);
    EXPECT_EQ(frame->dataLength, -1);
    EXPECT_TRUE(frame->hasData);
    EXPECT_FALSE(frame->late);
    EXPECT_EQ(frame->payload, "abc");
    EXPECT_FALSE(parser.Next());
    EXPECT_FALSE(parser.IsMalformed());
}

TEST(Frame, CarriesItsCauseUpToTheGreatest)
{
    Frame sent = Sample();
    sent.late = true;
    sent.cause = sim::greatestCause;
    const std::string bytes = sim::EncodeFrame(sent);
    FrameParser parser;
    parser.Feed(bytes.data(), bytes.size());
    const auto frame = parser.Next();
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->cause, 1073741823U);
    EXPECT_TRUE(frame->late);
    EXPECT_TRUE(frame->hasData);
}

TEST(Frame, TwoAtOnceComeOutInOrder)
{
    const std::string bytes = sim::EncodeFrame({.kind = FrameKind::Hello, .clientId = 1, .late = true, .payload = {}}) +
                              sim::EncodeFrame({.kind = FrameKind::Post, .clientId = 2, .payload = {}});
    FrameParser parser;
    parser.Feed(bytes.data(), bytes.size());
    const auto first = parser.Next();
    const auto second = parser.Next();
    ASSERT_TRUE(first && second);
    EXPECT_TRUE(first->late);
    EXPECT_EQ(first->clientId, 1);
    EXPECT_FALSE(second->late);
    EXPECT_EQ(second->clientId, 2);
}

TEST(Frame, NothingComesOutAfterBytesThatAreNoFrame)
{
    FrameParser parser;
    const std::string noise(32, 'x');
    const std::string frame = sim::EncodeFrame(Sample());
    parser.Feed(noise.data(), noise.size());
    EXPECT_FALSE(parser.Next());
    EXPECT_TRUE(parser.IsMalformed());
    parser.Feed(frame.data(), frame.size());
    EXPECT_FALSE(parser.Next());
}

TEST(Frame, RefusesASizeBeyondTheGreatestPayloadAndALengthBeyondTheSize)
{
    std::string tooGreat = sim::EncodeFrame(Sample());
    tooGreat[31] = '\x01'; // most significant byte of the size: more than 16 MiB
    FrameParser first;
    first.Feed(tooGreat.data(), tooGreat.size());
    EXPECT_FALSE(first.Next());
    EXPECT_TRUE(first.IsMalformed());

    Frame lying = Sample();
    lying.dataLength = 4;
    const std::string bytes = sim::EncodeFrame(lying);
    FrameParser second;
    second.Feed(bytes.data(), bytes.size());
    EXPECT_FALSE(second.Next());
    EXPECT_TRUE(second.IsMalformed());
}
