#pragma once

#include "uistrings/UiStringsApi.h"

#include <string>

/// Places of the host's resources. Any thread may call it.
class UI_STRINGS_API CoheronUtilClass
{
public:
    CoheronUtilClass() = delete;

    /// Folder of the pop-up windows' resources, ending in a separator.
    static std::wstring GetPopWndResPath();
};
