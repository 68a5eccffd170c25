#include "ipc/QvIpcPackage.h"
#include "ipc/IpcBufferBuild.h"
#include "simulator/host/wire/Package.h"
#include "simulator/timeline/FaultPlan.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace
{

/// What is read from a payload that is exactly as long as the given bytes.
class Reader
{
public:
    explicit Reader(const std::string& bytes)
        : bytes_(bytes), channel_(bytes_.data(), static_cast<std::uint32_t>(bytes_.size()), true), package_(&channel_)
    {
    }

    std::int32_t String(std::string& text) { return package_.UnpacketString(text); }
    std::int32_t Int(std::int32_t& value) { return package_.UnpacketInt(value); }

private:
    std::string bytes_;
    IpcBufferBuild channel_;
    QvIpcPackage package_;
};

} // namespace

TEST(QvIpcPackage, ItemsComeBackInTheirOrder)
{
    std::array<char, 64> buffer{};
    IpcBufferBuild channel(buffer.data(), 64, false);
    QvIpcPackage package(&channel);
    EXPECT_EQ(package.PacketInt(std::numeric_limits<std::int32_t>::min()), 5);
    EXPECT_EQ(package.PacketString("abc"), 8);
    EXPECT_EQ(package.PacketString(""), 5);
    EXPECT_EQ(package.PacketString(std::string("\0\xFF", 2)), 7);
    EXPECT_EQ(package.PacketInt(12), 5);

    Reader reader(std::string(buffer.data(), 30));
    std::int32_t first = 0;
    std::string second;
    std::string third = "kept?";
    std::string fourth;
    std::int32_t fifth = 0;
    EXPECT_EQ(reader.Int(first), 5);
    EXPECT_EQ(reader.String(second), 8);
    EXPECT_EQ(reader.String(third), 5);
    EXPECT_EQ(reader.String(fourth), 7);
    EXPECT_EQ(reader.Int(fifth), 5);
    EXPECT_EQ(first, std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(second, "abc");
    EXPECT_EQ(third, "");
    EXPECT_EQ(fourth, std::string("\0\xFF", 2));
    EXPECT_EQ(fifth, 12);
}

TEST(QvIpcPackage, AnItemThatDoesNotFitAddsNothing)
{
    std::array<char, 12> buffer{};
    IpcBufferBuild channel(buffer.data(), 12, false);
    QvIpcPackage package(&channel);
    EXPECT_EQ(package.PacketString("a"), 6);
    EXPECT_LT(package.PacketString("bc"), 0);
    EXPECT_EQ(package.PacketString("d"), 6);
    EXPECT_LT(package.PacketInt(1), 0);
    EXPECT_EQ(sim::DecodePackage(std::string(buffer.data(), 12)),
              (std::vector<sim::PackageItem>{std::string("a"), std::string("d")}));
}

TEST(QvIpcPackage, EveryShortPayloadEndsInAFailureThatKeepsTheArgument)
{
    const std::string whole = sim::EncodePackage({5, std::string("device"), std::string("12345")});
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
        Reader reader(whole.substr(0, size));
        std::int32_t number = -7;
        std::string first = "first";
        std::string second = "second";
        EXPECT_EQ(reader.Int(number) > 0, size >= 5) << size;
        EXPECT_EQ(reader.String(first) > 0, size >= 16) << size;
        EXPECT_LT(reader.String(second), 0) << size;
        EXPECT_EQ(number, size >= 5 ? 5 : -7) << size;
        EXPECT_EQ(first, size >= 16 ? "device" : "first") << size;
        EXPECT_EQ(second, "second") << size;
    }
}

TEST(QvIpcPackage, NothingIsTakenForAnItemBehindOneOfAnotherKind)
{
    const std::string bytes = sim::EncodePackage({std::string("text"), 5});
    Reader reader(bytes);
    std::int32_t number = -7;
    std::string text = "kept";
    EXPECT_LT(reader.Int(number), 0);
    EXPECT_LT(reader.String(text), 0);
    EXPECT_LT(reader.Int(number), 0);
    EXPECT_EQ(number, -7);
    EXPECT_EQ(text, "kept");
}

TEST(QvIpcPackage, RefusesLengthsBeyondThePayload)
{
    for (const char* const length : {"\x05\0\0\0", "\xFF\xFF\xFF\x7F", "\xFF\xFF\xFF\xFF", "\xFB\xFF\xFF\xFF"})
    {
        Reader reader("\x02" + std::string(length, 4) + "abcd");
        std::string text = "kept";
        EXPECT_LT(reader.String(text), 0);
        EXPECT_EQ(text, "kept");
    }
}

TEST(QvIpcPackage, SurvivesArbitraryBytes)
{
    std::mt19937 random(20240611);
    for (int round = 0; round < 20000; ++round)
    {
        std::string bytes(random() % 40, '\0');
        for (char& byte : bytes)
        {
            const auto value = static_cast<unsigned char>(random());
            byte = static_cast<char>(value % 4 == 0 ? value : value % 3); // tags and small lengths are frequent
        }
        Reader reader(bytes);
        std::size_t taken = 0;
        for (int item = 0; item < 10; ++item)
        {
            std::string text;
            std::int32_t number = 0;
            const std::int32_t result = random() % 2 == 0 ? reader.String(text) : reader.Int(number);
            taken += result > 0 ? static_cast<std::size_t>(result) : 0;
            ASSERT_LE(text.size(), bytes.size());
        }
        ASSERT_LE(taken, bytes.size());
    }
}

TEST(QvIpcPackage, FailsWithoutAChannel)
{
    QvIpcPackage package(nullptr);
    std::string text = "kept";
    std::int32_t number = -7;
    EXPECT_LT(package.PacketString("a"), 0);
    EXPECT_LT(package.PacketInt(1), 0);
    EXPECT_LT(package.UnpacketString(text), 0);
    EXPECT_LT(package.UnpacketInt(number), 0);
    EXPECT_EQ(text, "kept");
    EXPECT_EQ(number, -7);
}

TEST(QvIpcPackage, PacketStringFailsAsPlanned)
{
    sim::FaultPlan::Instance().Clear();
    sim::FaultPlan::Instance().FailCall("QvIpcPackage::PacketString", 2, -3);
    std::array<char, 64> buffer{};
    IpcBufferBuild channel(buffer.data(), 64, false);
    QvIpcPackage package(&channel);
    EXPECT_EQ(package.PacketString("a"), 6);
    EXPECT_EQ(package.PacketString("b"), -3);
    EXPECT_EQ(package.PacketString("c"), 6);
    EXPECT_EQ(sim::DecodePackage(std::string(buffer.data(), 12)),
              (std::vector<sim::PackageItem>{std::string("a"), std::string("c")}));
    sim::FaultPlan::Instance().Clear();
}

TEST(Package, IsDecodedAsAWholeOrNotAtAll)
{
    const std::vector<sim::PackageItem> items = {-1, std::string("x")};
    const std::string bytes("\x01\xFF\xFF\xFF\xFF\x02\x01\0\0\0x", 11);
    EXPECT_EQ(sim::EncodePackage(items), bytes);
    EXPECT_EQ(sim::DecodePackage(bytes), items);
    EXPECT_EQ(sim::DecodePackage(""), std::vector<sim::PackageItem>{});
    EXPECT_FALSE(sim::DecodePackage(bytes + "\x01"));
    EXPECT_FALSE(sim::DecodePackage(bytes.substr(0, 10)));
    EXPECT_FALSE(sim::DecodePackage("\x03xxxx"));
}
