#pragma once

#include "uistrings/UiStringsApi.h"

#include <string>

namespace DuiLib
{

/// The string table of the user's culture. One object for the process, owned by the library. Any thread may call it.
class UI_STRINGS_API UICulture
{
public:
    static UICulture& GetInstance();

    /// The localised text of a resource id; empty when the table has none.
    std::wstring GetString(const std::wstring& id) const;

    UICulture(const UICulture&) = delete;
    UICulture& operator=(const UICulture&) = delete;

private:
    UICulture();
    ~UICulture();
};

} // namespace DuiLib
