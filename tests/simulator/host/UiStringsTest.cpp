#include "simulator/host/strings/StringsControl.h"
#include "uistrings/CDuiString.h"
#include "uistrings/CoheronUtilClass.h"
#include "uistrings/UICulture.h"
#include "uistrings/UIStringLocale.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

class UiStrings : public testing::Test
{
protected:
    UiStrings() { sim::StringsControl::Reset(); }
    ~UiStrings() override { sim::StringsControl::Reset(); }
};

std::wstring Culture(const std::wstring& id)
{
    return DuiLib::UICulture::GetInstance().GetString(id);
}

std::wstring Locale(const wchar_t* id)
{
    return UIEx::UIStringLocale::GetString(id).GetData();
}

} // namespace

TEST_F(UiStrings, HaveTheTextsOfTheTip)
{
    EXPECT_EQ(Locale(L"IDS_AMBREL_RECONNECT_TITLE_NAME"), L"Headset audio");
    EXPECT_EQ(Locale(L"IDS_NEARPAIR_KNOW"), L"Got it");
    EXPECT_EQ(Locale(L"IDS_ACCESSORIES_RECONNECT"), L"Reconnect");
    EXPECT_EQ(Culture(L"IDS_AMBREL_EARPHONE_CHANGE"), L"The audio of {0} has moved to {1}.");
    EXPECT_EQ(Culture(L"IDS_AMBREL_EARPHONE_CHANGE_TURN_VOLUME"),
              L"The audio of {0} has moved to {1}. The volume of this computer has been turned down.");
}

TEST_F(UiStrings, GiveTheEmptyTextForAnUnknownId)
{
    EXPECT_EQ(Locale(L"IDS_NONE"), L"");
    EXPECT_EQ(Locale(nullptr), L"");
    EXPECT_EQ(Culture(L"IDS_NONE"), L"");
}

TEST_F(UiStrings, CanBeReplacedAndTakenAway)
{
    sim::StringsControl::SetText(L"IDS_NEARPAIR_KNOW", L"%d of %ls");
    EXPECT_STREQ(UIEx::UIStringLocale::GetString(L"IDS_NEARPAIR_KNOW", 3, L"five").GetData(), L"3 of five");
    sim::StringsControl::RemoveText(L"IDS_NEARPAIR_KNOW");
    EXPECT_EQ(Locale(L"IDS_NEARPAIR_KNOW"), L"");
    sim::StringsControl::Reset();
    EXPECT_EQ(Locale(L"IDS_NEARPAIR_KNOW"), L"Got it");
}

TEST_F(UiStrings, AStringsDataIsNeverNull)
{
    EXPECT_STREQ(DuiLib::CDuiString().GetData(), L"");
    EXPECT_STREQ(DuiLib::CDuiString(nullptr).GetData(), L"");
    EXPECT_STREQ(DuiLib::CDuiString(L"text").GetData(), L"text");
}

TEST_F(UiStrings, TheResourceFolderEndsInASeparator)
{
    EXPECT_EQ(CoheronUtilClass::GetPopWndResPath(), L"C:\\Host\\PopWnd\\");
}
