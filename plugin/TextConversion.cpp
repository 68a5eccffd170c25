#include "plugin/TextConversion.h"

#include <windows.h>

#include <cstddef>
#include <utility>

namespace TextConversion
{

namespace
{

/// Empty when the platform does not convert the text.
std::wstring Widen(std::string_view text, DWORD flags)
{
    const int length = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(CP_ACP, flags, text.data(), length, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    if (size > 0)
    {
        MultiByteToWideChar(CP_ACP, flags, text.data(), length, wide.data(), size);
    }
    return wide;
}

} // namespace

std::string ToNarrow(std::wstring_view text)
{
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(CP_ACP, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(size), '\0');
    if (size > 0)
    {
        WideCharToMultiByte(CP_ACP, 0, text.data(), length, narrow.data(), size, nullptr, nullptr);
    }
    return narrow;
}

std::wstring ToWide(std::string_view text)
{
    return Widen(text, 0);
}

std::optional<std::wstring> ToWideStrictly(std::string_view text)
{
    std::wstring wide = Widen(text, MB_ERR_INVALID_CHARS);
    return wide.empty() && !text.empty() ? std::nullopt : std::optional(std::move(wide));
}

} // namespace TextConversion
