#pragma once

#include "uistrings/UiStringsApi.h"

#include <string>

namespace DuiLib
{

/// A wide text of the UI library. Plain value.
class UI_STRINGS_API CDuiString
{
public:
    CDuiString();
    explicit CDuiString(const wchar_t* text);

    /// Zero-terminated, never null; valid until the string is changed or destroyed.
    const wchar_t* GetData() const;

private:
    std::wstring text_;
};

} // namespace DuiLib
