#pragma once

#include "simulator/host/strings/StringsControlApi.h"

#include <string>
#include <string_view>

namespace sim
{

/// The string table behind `UICulture` and `UIStringLocale`: English texts at first.
///
/// Faults: look-ups are entered in the FaultPlan as "UICulture::GetString" and "UIStringLocale::GetString"; one that
/// fails gives the empty text.
///
/// One object for the process. Every operation may be called from any thread.
class SIM_STRINGS_API StringsControl
{
public:
    StringsControl() = delete;

    /// Loads the table of a culture, "en" or "de", and forgets what has been changed in the one before. An unknown
    /// culture throws std::invalid_argument and changes nothing.
    static void SetCulture(std::string_view culture);
    static std::string Culture();

    /// Loads the table of the culture at hand once more, as a careless translator would leave it: without `placeholder`,
    /// such as "{1}", in any of its texts.
    static void LoadTableWithout(std::wstring_view placeholder);

    /// Sets or replaces a text.
    static void SetText(std::wstring_view id, std::wstring_view text);

    /// Takes a text away: looking it up gives the empty text.
    static void RemoveText(std::wstring_view id);

    /// Goes back to the English texts.
    static void Reset();

    /// For the library: the text of an id, empty when there is none.
    static std::wstring Text(std::wstring_view id);
};

} // namespace sim
