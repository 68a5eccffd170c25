#include "simulator/host/tips/RecordingTip.h"

#include "simulator/timeline/Timeline.h"

namespace sim
{

namespace
{

void Record(const std::string& call, const std::string& value)
{
    Timeline::Instance().Add("tips", call + " " + value);
}

void RecordText(const std::string& call, const std::wstring& text)
{
    Record(call, "\"" + ToUtf8(text) + "\"");
}

} // namespace

void RecordingTip::SetPriority(Qva::TipsSdk::PopupPriority priority)
{
    Record("SetPriority", std::to_string(static_cast<std::int32_t>(priority)));
}

void RecordingTip::SetTitleIcon(const std::wstring& path)
{
    RecordText("SetTitleIcon", path);
}

void RecordingTip::SetTitleTxt(const std::wstring& text)
{
    RecordText("SetTitleTxt", text);
}

void RecordingTip::SetAutoClose(bool autoClose)
{
    Record("SetAutoClose", std::to_string(autoClose));
}

void RecordingTip::SetAutoCloseToNotificationCenter(bool toNotificationCenter)
{
    Record("SetAutoCloseToNotificationCenter", std::to_string(toNotificationCenter));
}

void RecordingTip::SetCloseDelay(std::uint64_t delayMs)
{
    Record("SetCloseDelay", std::to_string(delayMs));
}

void RecordingTip::SetReplyCallback(const ReplyCallback& callback)
{
    Record("SetReplyCallback", callback ? "set" : "empty");
    replyCallback_ = callback;
}

void RecordingTip::SetContentTxt(const std::wstring& text)
{
    RecordText("SetContentTxt", text);
}

void RecordingTip::SetFirstBtnNameTxt(const std::wstring& text)
{
    RecordText("SetFirstBtnNameTxt", text);
}

void RecordingTip::SetSecondBtnNameTxt(const std::wstring& text)
{
    RecordText("SetSecondBtnNameTxt", text);
}

} // namespace sim
