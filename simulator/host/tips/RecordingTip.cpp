#include "simulator/host/tips/RecordingTip.h"

#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"

#include "tips/TipsTypes.h"

namespace sim
{

namespace
{

std::string Text(const std::wstring& value)
{
    return "\"" + ToUtf8(value) + "\"";
}

template <typename Number> std::string Text(Number value)
{
    return std::to_string(value);
}

/// "SetTitleTxt" for "TipsBase::SetTitleTxt".
std::string OwnName(const std::string& call)
{
    return call.substr(call.rfind(':') + 1);
}

/// Tells the timeline of a setter; whether it is to do its work.
bool Enter(const std::string& call, const std::string& value)
{
    Timeline::Instance().Add("tips", OwnName(call) + " " + value);
    return !FaultPlan::Instance().Enter(call);
}

} // namespace

RecordingTip::RecordingTip(std::uint64_t number, const void* owner, Qva::TipsSdk::EnmTipsType type, int tipsId)
    : number_(number)
{
    description_.number = number;
    description_.owner = owner;
    description_.type = static_cast<std::int32_t>(type);
    description_.tipsId = tipsId;
}

template <typename Value> void RecordingTip::Set(const char* call, Value TipDescription::*field, const Value& value)
{
    if (Enter(call, Text(value)))
    {
        const std::scoped_lock lock(mutex_);
        description_.*field = value;
    }
}

void RecordingTip::SetPriority(Qva::TipsSdk::PopupPriority priority)
{
    Set("TipsBase::SetPriority", &TipDescription::priority, static_cast<std::int32_t>(priority));
}

void RecordingTip::SetTitleIcon(const std::wstring& path)
{
    Set("TipsBase::SetTitleIcon", &TipDescription::icon, path);
}

void RecordingTip::SetTitleTxt(const std::wstring& text)
{
    Set("TipsBase::SetTitleTxt", &TipDescription::title, text);
}

void RecordingTip::SetAutoClose(bool autoClose)
{
    Set("TipsBase::SetAutoClose", &TipDescription::autoClose, autoClose);
}

void RecordingTip::SetAutoCloseToNotificationCenter(bool toNotificationCenter)
{
    Set("TipsBase::SetAutoCloseToNotificationCenter", &TipDescription::toNotificationCenter, toNotificationCenter);
}

void RecordingTip::SetCloseDelay(std::uint64_t delayMs)
{
    Set("TipsBase::SetCloseDelay", &TipDescription::closeDelayMs, delayMs);
}

void RecordingTip::SetReplyCallback(const ReplyCallback& callback)
{
    if (Enter("TipsBase::SetReplyCallback", callback ? "set" : "empty"))
    {
        reply_->Set(callback);
        const std::scoped_lock lock(mutex_);
        description_.hasCallback = static_cast<bool>(callback);
    }
}

void RecordingTip::SetContentTxt(const std::wstring& text)
{
    Set("TipsPopUpWnd::SetContentTxt", &TipDescription::content, text);
}

void RecordingTip::SetFirstBtnNameTxt(const std::wstring& text)
{
    Set("TipsPopUpWnd::SetFirstBtnNameTxt", &TipDescription::firstButton, text);
}

void RecordingTip::SetSecondBtnNameTxt(const std::wstring& text)
{
    Set("TipsPopUpWnd::SetSecondBtnNameTxt", &TipDescription::secondButton, text);
}

TipDescription RecordingTip::Description() const
{
    const std::scoped_lock lock(mutex_);
    return description_;
}

} // namespace sim
