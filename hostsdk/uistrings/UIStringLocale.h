#pragma once

#include "uistrings/CDuiString.h"
#include "uistrings/UiStringsApi.h"

namespace UIEx
{

/// Localised titles and labels. Any thread may call it.
class UI_STRINGS_API UIStringLocale
{
public:
    UIStringLocale() = delete;

    /// The localised text of a resource id, formatted with the further arguments; empty when there is none.
    static DuiLib::CDuiString GetString(const wchar_t* id, ...);
};

} // namespace UIEx
