#pragma once

#include "logger/QvLogger.h"

#include <concepts>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

/// Composition of diagnostic log lines. Any thread may log: each line has a stream of its own.
namespace Log
{

// The host's levels, which the module knows by number.
inline constexpr auto progress = static_cast<LOG_MESSAGE_LEVEL>(3);
inline constexpr auto failure = static_cast<LOG_MESSAGE_LEVEL>(4);

template <typename Part>
concept Character = std::same_as<Part, char> || std::same_as<Part, wchar_t> || std::same_as<Part, char16_t> ||
    std::same_as<Part, char32_t>;

template <typename Part>
concept NarrowText = std::is_convertible_v<Part, const char*> || std::same_as<Part, std::string>;

// A byte would be printed as a character, a wide character as one or as a number, an atomic through its implicit
// conversion by luck only.
template <typename Part>
concept Loggable = NarrowText<Part> || std::is_convertible_v<Part, const wchar_t*> ||
    std::same_as<Part, std::wstring> || std::same_as<Part, bool> ||
    (std::integral<Part> && sizeof(Part) > 1 && !Character<Part>);

/// Adds a narrow text, each byte widened through the stream's locale. A text with bytes that this gives no character,
/// such as the halves of a double-byte one, is taken as a whole, in the ANSI code page; the bytes of a text that is none
/// there either stand for themselves. So no byte cuts the line.
void InsertNarrow(std::wstringstream& line, std::string_view text);

template <Loggable Part> void Insert(std::wstringstream& line, const Part& part)
{
    if constexpr (NarrowText<Part>)
    {
        InsertNarrow(line, part);
    }
    else
    {
        line << part;
    }
}

/// Writes one line at `level`: the parts one after another, then `operation`, the full name of the operation that
/// logs, in parentheses. Integers are decimal, in the form of the process's locale; flags 0 or 1. A line that cannot be
/// composed because memory runs out is lost; what is logged about goes on.
template <Loggable... Parts> void Line(LOG_MESSAGE_LEVEL level, const char* operation, const Parts&... parts) noexcept
{
    try
    {
        std::wstringstream line;
        (Insert(line, parts), ...);
        line << L"(" << operation << L")";
        QvLogger::GetInstance()->Log(level, line);
    }
    catch (...)
    {
        return;
    }
}

/// Ordinary progress and values, level 3.
template <Loggable... Parts> void Info(const char* operation, const Parts&... parts) noexcept
{
    Line(progress, operation, parts...);
}

/// Failures and refused input, level 4.
template <Loggable... Parts> void Error(const char* operation, const Parts&... parts) noexcept
{
    Line(failure, operation, parts...);
}

} // namespace Log
