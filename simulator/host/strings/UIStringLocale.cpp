#include "uistrings/UIStringLocale.h"

#include "simulator/host/strings/StringsControl.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <string>

namespace UIEx
{

DuiLib::CDuiString UIStringLocale::GetString(const wchar_t* id, ...)
{
    const std::wstring name = id != nullptr ? id : L"";
    sim::Timeline::Instance().Add("strings", L"UIStringLocale::GetString " + name);
    if (sim::FaultPlan::Instance().Enter("UIStringLocale::GetString"))
    {
        return DuiLib::CDuiString();
    }
    const std::wstring text = sim::StringsControl::Text(name);
    std::array<wchar_t, 1024> formatted{};
    std::va_list arguments;
    va_start(arguments, id);
    std::vswprintf(formatted.data(), formatted.size(), text.c_str(), arguments);
    va_end(arguments);
    formatted.back() = L'\0';
    return DuiLib::CDuiString(formatted.data());
}

} // namespace UIEx
