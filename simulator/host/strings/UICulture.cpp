#include "uistrings/UICulture.h"

#include "simulator/host/strings/StringsControl.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"

namespace DuiLib
{

UICulture::UICulture() = default;

UICulture::~UICulture() = default;

UICulture& UICulture::GetInstance()
{
    // Never destroyed: threads of the module may still look texts up while the process ends.
    static UICulture* const instance = new UICulture();
    return *instance;
}

std::wstring UICulture::GetString(const std::wstring& id) const
{
    sim::Timeline::Instance().Add("strings", L"UICulture::GetString " + id);
    return sim::FaultPlan::Instance().Enter("UICulture::GetString") ? L"" : sim::StringsControl::Text(id);
}

} // namespace DuiLib
