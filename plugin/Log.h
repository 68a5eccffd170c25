#pragma once

#include "logger/QvLogger.h"

#include <concepts>
#include <sstream>
#include <string>
#include <type_traits>

/// Composition of diagnostic log lines. Any thread may log: each line has a stream of its own.
namespace Log
{

// A byte would be printed as a character, an atomic through its implicit conversion by luck only.
template <typename Part>
concept Loggable = std::is_convertible_v<Part, const char*> || std::is_convertible_v<Part, const wchar_t*> ||
    std::same_as<Part, std::string> || std::same_as<Part, std::wstring> || std::same_as<Part, bool> ||
    (std::integral<Part> && sizeof(Part) > 1);

template <Loggable Part> void Insert(std::wstringstream& line, const Part& part)
{
    if constexpr (std::same_as<Part, std::string>)
    {
        for (const char byte : part)
        {
            line.put(line.widen(byte));
        }
    }
    else
    {
        line << part;
    }
}

/// Writes one line at `level`: the parts one after another, then `operation`, the full name of the operation that
/// logs, in parentheses. Integers are decimal, flags 0 or 1, narrow texts are widened byte by byte through the stream's
/// locale. A line that cannot be composed for want of memory is lost; what is logged about goes on.
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
    Line(LOG_LEVEL_INFO, operation, parts...);
}

/// Failures and refused input, level 4.
template <Loggable... Parts> void Error(const char* operation, const Parts&... parts) noexcept
{
    Line(LOG_LEVEL_ERROR, operation, parts...);
}

} // namespace Log
