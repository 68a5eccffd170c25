#pragma once

#include "simulator/host/strings/StringsControlApi.h"

#include <string>
#include <string_view>

namespace sim
{

/// The string table behind `UICulture` and `UIStringLocale`: English texts at first.
///
/// One object for the process. Every operation may be called from any thread.
class SIM_STRINGS_API StringsControl
{
public:
    StringsControl() = delete;

    /// Sets or replaces a text.
    static void SetText(std::wstring_view id, std::wstring_view text);

    /// Takes a text away: looking it up gives the empty text.
    static void RemoveText(std::wstring_view id);

    /// Goes back to the first texts.
    static void Reset();

    /// For the library: the text of an id, empty when there is none.
    static std::wstring Text(std::wstring_view id);
};

} // namespace sim
