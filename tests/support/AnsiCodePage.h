#pragma once

#include "tests/support/DecoratedNames.h"
#include "tests/support/ImportPatch.h"

#include <windows.h>

#include <cwchar>
#include <locale>
#include <type_traits>

namespace test
{

/// Gives this computer another ANSI code page, for one module and for the streams of the C++ runtime, while it lives. One
/// object at a time; no other thread may make a stream at its begin or end.
class AnsiCodePage
{
public:
    /// `module` is null for the program itself.
    AnsiCodePage(HMODULE module, UINT page) : ofModule_(module, "KERNEL32.dll", "MultiByteToWideChar", &Convert)
    {
        page_ = page;
        original_ = ofModule_.Original<std::remove_pointer_t<decltype(original_)>>();
        // The runtime asks for each byte once, when it makes a facet.
        const ImportPatch ofRuntime(GetModuleHandleA(imported::runtime), "KERNEL32.dll", "MultiByteToWideChar",
                                    &Convert);
        previous_ = std::locale::global(std::locale(std::locale::classic(), new std::ctype<wchar_t>));
    }
    ~AnsiCodePage() { std::locale::global(previous_); }

    /// Whether a stream finds no character for the byte.
    static bool HasNoCharacterFor(char byte)
    {
        return std::use_facet<std::ctype<wchar_t>>(std::locale()).widen(byte) == static_cast<wchar_t>(WEOF);
    }

    AnsiCodePage(const AnsiCodePage&) = delete;
    AnsiCodePage& operator=(const AnsiCodePage&) = delete;

private:
    static int WINAPI Convert(UINT page, DWORD flags, LPCCH text, int length, LPWSTR out, int size)
    {
        return original_(page == CP_ACP ? page_ : page, flags, text, length, out, size);
    }

    inline static UINT page_ = CP_ACP;
    inline static decltype(&MultiByteToWideChar) original_ = nullptr;

    ImportPatch ofModule_;
    std::locale previous_;
};

} // namespace test
