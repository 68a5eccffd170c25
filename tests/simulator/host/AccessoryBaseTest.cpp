#include "accessory/AccessoryBaseSdk.h"

#include <gtest/gtest.h>

TEST(AccessoryBase, ShowsTheLastTwoCharacters)
{
    EXPECT_EQ(AccessoryBaseSdk::GetLastTwoSerialNumber(std::string("112233445566")), "**66");
    EXPECT_EQ(AccessoryBaseSdk::GetLastTwoSerialNumber(std::wstring(L"112233445566")), L"**66");
    EXPECT_EQ(AccessoryBaseSdk::GetLastTwoSerialNumber(std::string("abc")), "**bc");
}

TEST(AccessoryBase, LeavesShortTextsAsTheyAre)
{
    EXPECT_EQ(AccessoryBaseSdk::GetLastTwoSerialNumber(std::string("ab")), "ab");
    EXPECT_EQ(AccessoryBaseSdk::GetLastTwoSerialNumber(std::string("a")), "a");
    EXPECT_EQ(AccessoryBaseSdk::GetLastTwoSerialNumber(std::string()), "");
    EXPECT_EQ(AccessoryBaseSdk::GetLastTwoSerialNumber(std::wstring(L"ab")), L"ab");
    EXPECT_EQ(AccessoryBaseSdk::GetLastTwoSerialNumber(std::wstring()), L"");
}
