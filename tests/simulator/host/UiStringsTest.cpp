#include "simulator/host/strings/StringsControl.h"
#include "simulator/timeline/FaultPlan.h"
#include "uistrings/CDuiString.h"
#include "uistrings/CoheronUtilClass.h"
#include "uistrings/UICulture.h"
#include "uistrings/UIStringLocale.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace
{

class UiStrings : public testing::Test
{
protected:
    UiStrings() { sim::StringsControl::Reset(); }
    ~UiStrings() override
    {
        sim::StringsControl::Reset();
        sim::FaultPlan::Instance().Clear();
    }
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

TEST_F(UiStrings, SpeakTheLanguageOfTheCulture)
{
    EXPECT_EQ(sim::StringsControl::Culture(), "en");
    sim::StringsControl::SetText(L"IDS_NEARPAIR_KNOW", L"OK");
    sim::StringsControl::SetCulture("de");
    EXPECT_EQ(sim::StringsControl::Culture(), "de");
    EXPECT_EQ(Locale(L"IDS_AMBREL_RECONNECT_TITLE_NAME"), L"Kopfh\u00f6rerton");
    EXPECT_EQ(Locale(L"IDS_NEARPAIR_KNOW"), L"Verstanden");
    EXPECT_EQ(Locale(L"IDS_ACCESSORIES_RECONNECT"), L"Erneut verbinden");
    EXPECT_EQ(Culture(L"IDS_AMBREL_EARPHONE_CHANGE"), L"Der Ton von {0} wird jetzt auf {1} wiedergegeben.");
    EXPECT_EQ(Culture(L"IDS_AMBREL_EARPHONE_CHANGE_TURN_VOLUME"),
              L"Der Ton von {0} wird jetzt auf {1} wiedergegeben. Die Lautst\u00e4rke dieses Computers wurde "
              L"verringert.");
    sim::StringsControl::SetCulture("en");
    EXPECT_EQ(Locale(L"IDS_NEARPAIR_KNOW"), L"Got it");
}

TEST_F(UiStrings, HaveNoTableForAnUnknownCulture)
{
    sim::StringsControl::SetCulture("de");
    EXPECT_THROW(sim::StringsControl::SetCulture("tlh"), std::invalid_argument);
    EXPECT_EQ(sim::StringsControl::Culture(), "de");
    EXPECT_EQ(Locale(L"IDS_NEARPAIR_KNOW"), L"Verstanden");
}

TEST_F(UiStrings, CanLackAPlaceholder)
{
    sim::StringsControl::LoadTableWithout(L"{1}");
    EXPECT_EQ(Culture(L"IDS_AMBREL_EARPHONE_CHANGE"), L"The audio of {0} has moved to .");
    sim::StringsControl::LoadTableWithout(L"{0}");
    EXPECT_EQ(Culture(L"IDS_AMBREL_EARPHONE_CHANGE"), L"The audio of  has moved to {1}.");
    sim::StringsControl::SetCulture("de");
    sim::StringsControl::LoadTableWithout(L"{0}");
    EXPECT_EQ(Culture(L"IDS_AMBREL_EARPHONE_CHANGE"), L"Der Ton von  wird jetzt auf {1} wiedergegeben.");
    sim::StringsControl::LoadTableWithout(L"");
    EXPECT_EQ(Culture(L"IDS_AMBREL_EARPHONE_CHANGE"), L"Der Ton von {0} wird jetzt auf {1} wiedergegeben.");
}

TEST_F(UiStrings, FailAndThrowAsPlanned)
{
    sim::FaultPlan& faults = sim::FaultPlan::Instance();
    faults.FailCall("UIStringLocale::GetString", 1, -1);
    faults.ThrowFrom("UIStringLocale::GetString", 2);
    faults.FailCall("UICulture::GetString", 1, -1);
    faults.ThrowFrom("UICulture::GetString", 2);
    EXPECT_EQ(Locale(L"IDS_NEARPAIR_KNOW"), L"");
    EXPECT_THROW(Locale(L"IDS_NEARPAIR_KNOW"), std::runtime_error);
    EXPECT_EQ(Locale(L"IDS_NEARPAIR_KNOW"), L"Got it");
    EXPECT_EQ(Culture(L"IDS_NEARPAIR_KNOW"), L"");
    EXPECT_THROW(Culture(L"IDS_NEARPAIR_KNOW"), std::runtime_error);
    EXPECT_EQ(Culture(L"IDS_NEARPAIR_KNOW"), L"Got it");
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
