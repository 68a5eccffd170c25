// Narrow and wide texts.
#include "plugin/TextConversion.h"
#include "tests/support/AnsiCodePage.h"
#include "tests/support/ImportPatch.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <type_traits>

namespace test
{

namespace
{

using namespace std::string_literals;

TEST(TextConversion, ConvertsPlainTexts)
{
    EXPECT_EQ(TextConversion::ToNarrow(L"{0.0.0.00000000}.{a1b2}"), "{0.0.0.00000000}.{a1b2}");
    EXPECT_EQ(TextConversion::ToWide("Headset 4711"), L"Headset 4711");
}

TEST(TextConversion, OfNothingIsNothing)
{
    EXPECT_EQ(TextConversion::ToNarrow(L""), "");
    EXPECT_EQ(TextConversion::ToWide(""), L"");
    EXPECT_EQ(TextConversion::ToNarrow({}), "");
    EXPECT_EQ(TextConversion::ToWide({}), L"");
}

TEST(TextConversion, TakesTheWholeTextAndNothingBehindIt)
{
    EXPECT_EQ(TextConversion::ToNarrow(L"a\0b"s), "a\0b"s);
    EXPECT_EQ(TextConversion::ToWide("a\0b"s), L"a\0b"s);
    EXPECT_EQ(TextConversion::ToNarrow(std::wstring_view(L"abcdef").substr(0, 3)), "abc");
    EXPECT_EQ(TextConversion::ToWide(std::string_view("abcdef").substr(0, 3)), L"abc");
}

// The ANSI code page of a western computer, whatever that of this one is.
decltype(&WideCharToMultiByte) originalNarrow = nullptr;
decltype(&MultiByteToWideChar) originalWide = nullptr;

int WINAPI WesternNarrow(UINT page, DWORD flags, LPCWCH text, int length, LPSTR out, int size, LPCCH dflt, LPBOOL used)
{
    return originalNarrow(page == CP_ACP ? 1252 : page, flags, text, length, out, size, dflt, used);
}

int WINAPI WesternWide(UINT page, DWORD flags, LPCCH text, int length, LPWSTR out, int size)
{
    return originalWide(page == CP_ACP ? 1252 : page, flags, text, length, out, size);
}

TEST(TextConversion, IsOfTheAnsiCodePage)
{
    const ImportPatch narrow(nullptr, "KERNEL32.dll", "WideCharToMultiByte", &WesternNarrow);
    const ImportPatch wide(nullptr, "KERNEL32.dll", "MultiByteToWideChar", &WesternWide);
    originalNarrow = narrow.Original<std::remove_pointer_t<decltype(originalNarrow)>>();
    originalWide = wide.Original<std::remove_pointer_t<decltype(originalWide)>>();
    const std::string narrowText = TextConversion::ToNarrow(L"Kopfh\u00F6rer \u20AC \u4E2D");
    const std::wstring wideText = TextConversion::ToWide("Kopfh\xF6rer \x80");
    EXPECT_EQ(narrowText, "Kopfh\xF6rer \x80 ?");
    EXPECT_EQ(wideText, L"Kopfh\u00F6rer \u20AC");
}

TEST(TextConversion, OfBytesThatAreNoCharacterIsNothingWhenItIsStrict)
{
    const AnsiCodePage page(nullptr, 936);
    EXPECT_EQ(TextConversion::ToWideStrictly("\xB6\xFA"), L"\u8033");
    EXPECT_EQ(TextConversion::ToWideStrictly("\xB6\xFA\xBB"), std::nullopt);
    EXPECT_EQ(TextConversion::ToWideStrictly(""), L"");
}

int WINAPI NoNarrow(UINT, DWORD, LPCWCH, int, LPSTR, int, LPCCH, LPBOOL)
{
    return 0;
}

int WINAPI NoWide(UINT, DWORD, LPCCH, int, LPWSTR, int)
{
    return 0;
}

TEST(TextConversion, OfWhatCannotBeConvertedIsNothing)
{
    const ImportPatch narrow(nullptr, "KERNEL32.dll", "WideCharToMultiByte", &NoNarrow);
    const ImportPatch wide(nullptr, "KERNEL32.dll", "MultiByteToWideChar", &NoWide);
    const std::string narrowText = TextConversion::ToNarrow(L"text");
    const std::wstring wideText = TextConversion::ToWide("text");
    EXPECT_EQ(narrowText, "");
    EXPECT_TRUE(wideText.empty());
}

} // namespace

} // namespace test
