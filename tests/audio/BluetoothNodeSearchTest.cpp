// The search for the Bluetooth device node of a container.
#include "audio/HeadFeatureConnect.h"
#include "simulator/timeline/Timeline.h"
#include "tests/audio/AudioTest.h"
#include "tests/audio/ComCreations.h"
#include "tests/audio/SetupApiSpy.h"
#include "tests/support/LogLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace
{

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr GUID containerA = {0x0000000A, 0xABCD, 0xEF01, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr const wchar_t* containerAText = L"{0000000A-ABCD-EF01-0102-030405060708}";
constexpr GUID containerB = {0x0000000B, 0xABCD, 0xEF01, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr const wchar_t* containerBText = L"{0000000B-ABCD-EF01-0102-030405060708}";

constexpr DWORD baseContainerIdPid = 38;
constexpr DWORD hardwareIdsPid = 3;

class BluetoothNodeSearchTest : public test::AudioTest
{
protected:
    void AddNode(const std::optional<GUID>& containerId, const std::optional<std::vector<std::wstring>>& hardwareIds)
    {
        nodes.AddNode({.containerId = containerId, .hardwareIds = hardwareIds});
    }

    /// The key of container A or B.
    static std::string KeyOf(const wchar_t* containerIdText)
    {
        return HeadFeatureConnect::GetGUIDBluetoothMac(containerIdText);
    }
};

TEST_F(BluetoothNodeSearchTest, WithoutNodesThereIsNoKeyAndNoLine)
{
    EXPECT_EQ(KeyOf(containerAText), "");
    EXPECT_THAT(test::LogLines(), IsEmpty());
}

TEST_F(BluetoothNodeSearchTest, GivesTheKeyOfTheNodeInTheContainer)
{
    AddNode(containerA, {{L"BTHENUM\\Dev_0A1B2C3D4E5F"}});
    EXPECT_EQ(KeyOf(containerAText), "11111822610015");
    EXPECT_THAT(test::LogLines(),
                ElementsAre("3 GetGUIDBluetoothMac--index=1requiredSize=16(HeadFeatureConnect::GetGUIDBluetoothMac)",
                            "3 GetGuidBlueToothMacAddress-- macIDkeyEndIndex=8(HeadFeatureConnect::SetInterceptedMac)",
                            "3 GetGUIDBluetoothMac-bolRe=1(HeadFeatureConnect::GetGUIDBluetoothMac)"));
}

TEST_F(BluetoothNodeSearchTest, PassesOverNodesOfOtherContainersAndEndsAtTheMatch)
{
    AddNode(containerB, {{L"BTHENUM\\Dev_1"}});
    AddNode(containerB, {{L"BTHENUM\\Dev_2"}});
    AddNode(containerA, {{L"BTHENUM\\Dev_3"}});
    AddNode(containerA, {{L"BTHENUM\\Dev_4"}});
    EXPECT_EQ(KeyOf(containerAText), "3");
    EXPECT_THAT(test::LogLines(),
                ElementsAre("3 GetGUIDBluetoothMac--index=1requiredSize=16(HeadFeatureConnect::GetGUIDBluetoothMac)",
                            "3 GetGUIDBluetoothMac--index=2requiredSize=16(HeadFeatureConnect::GetGUIDBluetoothMac)",
                            "3 GetGUIDBluetoothMac--index=3requiredSize=16(HeadFeatureConnect::GetGUIDBluetoothMac)",
                            "3 GetGuidBlueToothMacAddress-- macIDkeyEndIndex=8(HeadFeatureConnect::SetInterceptedMac)",
                            "3 GetGUIDBluetoothMac-bolRe=1(HeadFeatureConnect::GetGUIDBluetoothMac)"));
}

TEST_F(BluetoothNodeSearchTest, NoNodeOfTheContainerGivesNoKeyAfterLookingAtAll)
{
    AddNode(containerB, {{L"BTHENUM\\Dev_1"}});
    AddNode(containerB, {{L"BTHENUM\\Dev_2"}});
    EXPECT_EQ(KeyOf(containerAText), "");
    EXPECT_THAT(test::LogLines(),
                ElementsAre("3 GetGUIDBluetoothMac--index=1requiredSize=16(HeadFeatureConnect::GetGUIDBluetoothMac)",
                            "3 GetGUIDBluetoothMac--index=2requiredSize=16(HeadFeatureConnect::GetGUIDBluetoothMac)"));
}

TEST_F(BluetoothNodeSearchTest, ANodeWithoutContainerEndsTheSearch)
{
    AddNode(containerB, {{L"BTHENUM\\Dev_1"}});
    AddNode(std::nullopt, {{L"BTHENUM\\Dev_2"}});
    AddNode(containerA, {{L"BTHENUM\\Dev_0A1B2C3D4E5F"}});
    EXPECT_EQ(KeyOf(containerAText), "");
    EXPECT_THAT(test::LogLines(),
                ElementsAre("3 GetGUIDBluetoothMac--index=1requiredSize=16(HeadFeatureConnect::GetGUIDBluetoothMac)",
                            "3 GetGUIDBluetoothMac--index=2requiredSize=0(HeadFeatureConnect::GetGUIDBluetoothMac)"));
}

TEST_F(BluetoothNodeSearchTest, ANodeThatNamesNoDeviceDoesNotEndTheSearch)
{
    AddNode(containerA, {{L"BTHENUM\\{0000110b-0000-1000-8000-00805f9b34fb}"}});
    AddNode(containerA, {{L"BTHENUM\\Dev_0A1B2C3D4E5F"}});
    EXPECT_EQ(KeyOf(containerAText), "11111822610015");
    EXPECT_THAT(
        test::LogLines(),
        ElementsAre("3 GetGUIDBluetoothMac--index=1requiredSize=16(HeadFeatureConnect::GetGUIDBluetoothMac)",
                    "3 GetGuidBlueToothMacAddress-- macIDkeyEndIndex=**15(HeadFeatureConnect::SetInterceptedMac)",
                    "3 GetGUIDBluetoothMac-bolRe=0(HeadFeatureConnect::GetGUIDBluetoothMac)",
                    "3 GetGUIDBluetoothMac--index=2requiredSize=16(HeadFeatureConnect::GetGUIDBluetoothMac)",
                    "3 GetGuidBlueToothMacAddress-- macIDkeyEndIndex=8(HeadFeatureConnect::SetInterceptedMac)",
                    "3 GetGUIDBluetoothMac-bolRe=1(HeadFeatureConnect::GetGUIDBluetoothMac)"));
}

TEST_F(BluetoothNodeSearchTest, ANodeWithoutHardwareIdsCountsAsOneThatNamesNoDevice)
{
    AddNode(containerA, std::nullopt);
    EXPECT_EQ(KeyOf(containerAText), "");
    EXPECT_THAT(
        test::LogLines(),
        ElementsAre("3 GetGUIDBluetoothMac--index=1requiredSize=16(HeadFeatureConnect::GetGUIDBluetoothMac)",
                    "3 GetGuidBlueToothMacAddress-- macIDkeyEndIndex=**15(HeadFeatureConnect::SetInterceptedMac)",
                    "3 GetGUIDBluetoothMac-bolRe=0(HeadFeatureConnect::GetGUIDBluetoothMac)"));
}

TEST_F(BluetoothNodeSearchTest, OnlyTheFirstHardwareIdCounts)
{
    AddNode(containerA, {{L"BTHENUM\\Something", L"BTHENUM\\Dev_1"}});
    AddNode(containerA, {{L"BTHENUM\\Dev_2", L"BTHENUM\\Dev_3"}});
    EXPECT_EQ(KeyOf(containerAText), "2");
}

TEST_F(BluetoothNodeSearchTest, HardwareIdsOf520BytesAreReadAndLongerOnesAreNot)
{
    // In bytes: the id, its zero and the list's zero.
    const std::wstring fitting = L"BTHENUM\\Dev_5" + std::wstring(245, L'_');
    const std::wstring longer = fitting + L'_';
    AddNode(containerA, {{longer}});
    AddNode(containerB, {{fitting}});
    EXPECT_EQ(KeyOf(containerAText), "");
    EXPECT_EQ(KeyOf(containerBText), "5");
}

TEST_F(BluetoothNodeSearchTest, TheContainerTextIsComparedExactly)
{
    AddNode(containerA, {{L"BTHENUM\\Dev_1"}});
    EXPECT_EQ(KeyOf(containerAText), "1");
    EXPECT_EQ(KeyOf(L"{0000000a-abcd-ef01-0102-030405060708}"), "");
    EXPECT_EQ(KeyOf(L"0000000A-ABCD-EF01-0102-030405060708"), "");
    EXPECT_EQ(KeyOf(L"{0000000A-ABCD-EF01-0102-030405060708"), "");
    EXPECT_EQ(KeyOf(L"{0000000A-ABCD-EF01-0102-030405060708}}"), "");
    EXPECT_EQ(KeyOf(L""), "");
}

TEST_F(BluetoothNodeSearchTest, AsksForThePresentNodesOfTheBluetoothClass)
{
    AddNode(containerA, {{L"BTHENUM\\Dev_1"}});
    test::SetupApiSpy spy;
    EXPECT_EQ(KeyOf(containerAText), "1");
    EXPECT_EQ(test::GuidText(spy.openedClass), "{E0CBF06C-CD8B-4647-BB8A-263B43F0F974}");
    EXPECT_TRUE(spy.openedWithoutFilter);
    EXPECT_EQ(spy.openedFlags, 2U);
}

TEST_F(BluetoothNodeSearchTest, ReadsThreePropertiesOfTheMatchWithBuffersOfFixedSize)
{
    AddNode(containerA, {{L"BTHENUM\\Dev_1"}});
    test::SetupApiSpy spy;
    KeyOf(containerAText);
    ASSERT_EQ(spy.reads.size(), 3U);
    EXPECT_EQ(spy.reads[0].pid, baseContainerIdPid);
    EXPECT_EQ(spy.reads[0].buffer, nullptr);
    EXPECT_EQ(spy.reads[0].size, 0U);
    EXPECT_EQ(spy.reads[1].pid, baseContainerIdPid);
    EXPECT_EQ(spy.reads[1].size, 4096U);
    EXPECT_EQ(spy.reads[2].pid, hardwareIdsPid);
    EXPECT_EQ(spy.reads[2].size, 520U);
}

TEST_F(BluetoothNodeSearchTest, AnEmptySetIsDestroyed)
{
    test::SetupApiSpy spy;
    KeyOf(containerAText);
    EXPECT_EQ(spy.opened.size(), 1U);
    EXPECT_THAT(spy.destroyed, ElementsAreArray(spy.opened));
}

TEST_F(BluetoothNodeSearchTest, TheSetIsDestroyedOnEveryPath)
{
    AddNode(containerA, {{L"BTHENUM\\Dev_1"}});
    AddNode(std::nullopt, std::nullopt);
    test::SetupApiSpy spy;
    KeyOf(containerAText); // found
    KeyOf(containerBText); // ended by the node without container
    spy.reader = [](const test::SetupApiSpy::Read& read, const std::function<BOOL()>& real)
    {
        return read.buffer == nullptr ? real() : FALSE;
    };
    KeyOf(containerAText); // nothing can be read
    EXPECT_EQ(spy.opened.size(), 3U);
    EXPECT_THAT(spy.destroyed, ElementsAreArray(spy.opened));
}

TEST_F(BluetoothNodeSearchTest, ASetThatCannotBeOpenedGivesNoKeyAndIsNotDestroyed)
{
    AddNode(containerA, {{L"BTHENUM\\Dev_1"}});
    test::SetupApiSpy spy;
    spy.failsToOpen = true;
    EXPECT_EQ(KeyOf(containerAText), "");
    EXPECT_EQ(spy.opened.size(), 1U);
    EXPECT_THAT(spy.destroyed, IsEmpty());
    EXPECT_THAT(test::LogLines(), IsEmpty());
}

/// How the question for the size of a container id is answered.
struct SizeAnswer
{
    const char* name;
    BOOL result;
    DWORD error;
    DWORD requiredSize;
    const char* key;
    const char* firstLine;
};

void PrintTo(const SizeAnswer& answer, std::ostream* stream)
{
    *stream << answer.name;
}

class SizeAnswerTest : public BluetoothNodeSearchTest, public testing::WithParamInterface<SizeAnswer>
{
};

TEST_P(SizeAnswerTest, ErrorAndSizeDecideWhetherTheSearchGoesOn)
{
    AddNode(containerA, {{L"BTHENUM\\Dev_1"}});
    AddNode(containerA, {{L"BTHENUM\\Dev_2"}});
    test::SetupApiSpy spy;
    spy.reader = [](const test::SetupApiSpy::Read& read, const std::function<BOOL()>& real)
    {
        if (read.buffer != nullptr)
        {
            return real();
        }
        *read.required = GetParam().requiredSize;
        SetLastError(GetParam().error);
        return GetParam().result;
    };
    EXPECT_EQ(KeyOf(containerAText), GetParam().key);
    ASSERT_FALSE(test::LogLines().empty());
    EXPECT_EQ(test::LogLines().front(), GetParam().firstLine);
    EXPECT_EQ(spy.reads.size(), std::string(GetParam().key).empty() ? 1U : 3U);
}

constexpr const char* indexOneSize16 =
    "3 GetGUIDBluetoothMac--index=1requiredSize=16(HeadFeatureConnect::GetGUIDBluetoothMac)";
constexpr const char* indexOneSize0 =
    "3 GetGUIDBluetoothMac--index=1requiredSize=0(HeadFeatureConnect::GetGUIDBluetoothMac)";

INSTANTIATE_TEST_SUITE_P(
    Answers, SizeAnswerTest,
    testing::Values(SizeAnswer{"Usual", FALSE, ERROR_INSUFFICIENT_BUFFER, 16, "1", indexOneSize16},
                    SizeAnswer{"BufferErrorWithoutSize", FALSE, ERROR_INSUFFICIENT_BUFFER, 0, "", indexOneSize0},
                    SizeAnswer{"SizeWithAnotherError", FALSE, ERROR_ACCESS_DENIED, 16, "", indexOneSize16},
                    SizeAnswer{"SizeWithoutError", TRUE, ERROR_SUCCESS, 16, "", indexOneSize16},
                    SizeAnswer{"NotFound", FALSE, ERROR_NOT_FOUND, 0, "", indexOneSize0}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST_F(BluetoothNodeSearchTest, TheErrorIsThatOfTheQuestionWhateverTheLoggerLeavesBehind)
{
    AddNode(containerA, {{L"BTHENUM\\Dev_1"}});
    timeline.SetListener([](const sim::TimelineEntry&) { SetLastError(ERROR_FILE_NOT_FOUND); });
    EXPECT_EQ(KeyOf(containerAText), "1");
}

TEST_F(BluetoothNodeSearchTest, AContainerThatCannotBeReadIsPassedOver)
{
    AddNode(containerA, {{L"BTHENUM\\Dev_1"}});
    AddNode(containerA, {{L"BTHENUM\\Dev_2"}});
    test::SetupApiSpy spy;
    bool hasFailed = false;
    spy.reader = [&](const test::SetupApiSpy::Read& read, const std::function<BOOL()>& real)
    {
        const BOOL result = real();
        if (read.size == 4096 && !hasFailed)
        {
            hasFailed = true;
            return FALSE; // with the value in the buffer all the same
        }
        return result;
    };
    EXPECT_EQ(KeyOf(containerAText), "2");
    EXPECT_TRUE(hasFailed);
}

TEST_F(BluetoothNodeSearchTest, HardwareIdsThatCannotBeReadCountAsEmpty)
{
    AddNode(containerA, {{L"BTHENUM\\Dev_1"}});
    AddNode(containerA, {{L"BTHENUM\\Dev_2"}});
    test::SetupApiSpy spy;
    bool hasFailed = false;
    spy.reader = [&](const test::SetupApiSpy::Read& read, const std::function<BOOL()>& real)
    {
        if (read.pid == hardwareIdsPid && !hasFailed)
        {
            hasFailed = true;
            return FALSE;
        }
        return real();
    };
    EXPECT_EQ(KeyOf(containerAText), "2");
    EXPECT_THAT(
        test::LogLines(),
        ElementsAre("3 GetGUIDBluetoothMac--index=1requiredSize=16(HeadFeatureConnect::GetGUIDBluetoothMac)",
                    "3 GetGuidBlueToothMacAddress-- macIDkeyEndIndex=**15(HeadFeatureConnect::SetInterceptedMac)",
                    "3 GetGUIDBluetoothMac-bolRe=0(HeadFeatureConnect::GetGUIDBluetoothMac)",
                    "3 GetGUIDBluetoothMac--index=2requiredSize=16(HeadFeatureConnect::GetGUIDBluetoothMac)",
                    "3 GetGuidBlueToothMacAddress-- macIDkeyEndIndex=8(HeadFeatureConnect::SetInterceptedMac)",
                    "3 GetGUIDBluetoothMac-bolRe=1(HeadFeatureConnect::GetGUIDBluetoothMac)"));
}

TEST_F(BluetoothNodeSearchTest, HardwareIdsThatFillTheBufferAreCutOffThere)
{
    AddNode(containerA, {{L"BTHENUM\\Dev_1"}});
    test::SetupApiSpy spy;
    spy.reader = [](const test::SetupApiSpy::Read& read, const std::function<BOOL()>& real)
    {
        if (read.pid != hardwareIdsPid)
        {
            return real();
        }
        const std::wstring text = L"Dev_7" + std::wstring(255, L'_'); // 260 characters, no zero
        text.copy(reinterpret_cast<wchar_t*>(read.buffer), text.size());
        return TRUE;
    };
    EXPECT_EQ(KeyOf(containerAText), "7");
}

} // namespace
