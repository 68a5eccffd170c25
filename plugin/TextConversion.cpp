#include "plugin/TextConversion.h"

#include <windows.h>

#include <cstddef>

namespace TextConversion
{

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
    const int length = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(CP_ACP, 0, text.data(), length, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    if (size > 0)
    {
        MultiByteToWideChar(CP_ACP, 0, text.data(), length, wide.data(), size);
    }
    return wide;
}

} // namespace TextConversion
