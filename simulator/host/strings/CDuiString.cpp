#include "uistrings/CDuiString.h"

namespace DuiLib
{

CDuiString::CDuiString() = default;

CDuiString::CDuiString(const wchar_t* text) : text_(text != nullptr ? text : L"") {}

const wchar_t* CDuiString::GetData() const
{
    return text_.c_str();
}

} // namespace DuiLib
