// The headset key in a Bluetooth device node's hardware id.
#include "audio/HeadFeatureConnect.h"
#include "tests/support/LogLines.h"

#include "simulator/timeline/Timeline.h"

#include <gmock/gmock.h>

#include <ostream>
#include <string>

namespace
{

using testing::ElementsAre;

struct HardwareId
{
    const char* name; // of the test
    const wchar_t* id;
    bool isFound;
    const char* key; // "before" when it must be left as it is
    const char* logLine;
};

void PrintTo(const HardwareId& hardwareId, std::ostream* stream)
{
    *stream << hardwareId.name;
}

class HardwareIdTest : public testing::TestWithParam<HardwareId>
{
protected:
    HardwareIdTest() { sim::Timeline::Instance().Clear(); }
};

TEST_P(HardwareIdTest, GivesTheKeyAndLogsWhereTheMarkIs)
{
    std::string key = "before";
    EXPECT_EQ(HeadFeatureConnect::SetInterceptedMac(GetParam().id, key), GetParam().isFound);
    EXPECT_EQ(key, GetParam().key);
    EXPECT_THAT(test::LogLines(), ElementsAre(GetParam().logLine));
}

constexpr const char* foundAt0 =
    "3 GetGuidBlueToothMacAddress-- macIDkeyEndIndex=0(HeadFeatureConnect::SetInterceptedMac)";
constexpr const char* foundAt8 =
    "3 GetGuidBlueToothMacAddress-- macIDkeyEndIndex=8(HeadFeatureConnect::SetInterceptedMac)";
constexpr const char* notFound =
    "3 GetGuidBlueToothMacAddress-- macIDkeyEndIndex=**15(HeadFeatureConnect::SetInterceptedMac)";

INSTANTIATE_TEST_SUITE_P(
    Ids, HardwareIdTest,
    testing::Values(
        HardwareId{"Usual", L"BTHENUM\\Dev_0A1B2C3D4E5F", true, "11111822610015", foundAt8},
        HardwareId{"LowerCaseDigits", L"BTHENUM\\Dev_0a1b2c3d4e5f", true, "11111822610015", foundAt8},
        HardwareId{"TextAfterTheAddress", L"BTHENUM\\Dev_0A1B2C3D4E5F_C00000000", true, "11111822610015", foundAt8},
        HardwareId{"EndsAfterTheMark", L"BTHENUM\\Dev_", true, "0", foundAt8},
        HardwareId{"NoDigits", L"BTHENUM\\Dev_XYZ", true, "0", foundAt8},
        HardwareId{"MarkAtTheStart", L"Dev_10", true, "16", foundAt0},
        HardwareId{"FirstOfTwoMarks", L"Dev_1F_Dev_2", true, "31", foundAt0},
        HardwareId{"LeadingZeros", L"BTHENUM\\Dev_000000000ABC", true, "2748", foundAt8},
        HardwareId{"HighestAddress", L"BTHENUM\\Dev_FFFFFFFFFFFF", true, "281474976710655", foundAt8},
        HardwareId{"SixtyFourBits", L"BTHENUM\\Dev_FFFFFFFFFFFFFFFF", true, "18446744073709551615", foundAt8},
        HardwareId{"WideCharacters", L"BTHENUM\\Dev_1\x4E2D", true, "1", foundAt8},
        HardwareId{"MarkFarBehind", L"0123456789012345678901234567890123456789\\Dev_2", true, "2",
                   "3 GetGuidBlueToothMacAddress-- macIDkeyEndIndex=41(HeadFeatureConnect::SetInterceptedMac)"},
        HardwareId{"MarkBeyondAHundred",
                   L"0123456789012345678901234567890123456789012345678901234567890123456789"
                   L"0123456789012345678901234567890123456789Dev_3",
                   true, "3",
                   "3 GetGuidBlueToothMacAddress-- macIDkeyEndIndex=**10(HeadFeatureConnect::SetInterceptedMac)"},
        HardwareId{"LowerCase", L"bthenum\\dev_0a1b2c3d4e5f", false, "before", notFound},
        HardwareId{"UpperCase", L"BTHENUM\\DEV_0A1B2C3D4E5F", false, "before", notFound},
        HardwareId{"IncompleteMark", L"BTHENUM\\Dev", false, "before", notFound},
        HardwareId{"Empty", L"", false, "before", notFound}),
    [](const auto& instance) { return std::string(instance.param.name); });

} // namespace
