#pragma once

#include "tips/TipsPopUpWnd.h"

#include <cstdint>
#include <string>

namespace sim
{

/// A tip that tells the timeline what is set on it ("tips": such as `SetTitleTxt "Headset audio"`).
///
/// Owned by the tip register. It is set up on one thread before it is shown.
class RecordingTip : public Qva::TipsSdk::TipsPopUpWnd
{
public:
    void SetPriority(Qva::TipsSdk::PopupPriority priority) override;
    void SetTitleIcon(const std::wstring& path) override;
    void SetTitleTxt(const std::wstring& text) override;
    void SetAutoClose(bool autoClose) override;
    void SetAutoCloseToNotificationCenter(bool toNotificationCenter) override;
    void SetCloseDelay(std::uint64_t delayMs) override;
    void SetReplyCallback(const ReplyCallback& callback) override;
    void SetContentTxt(const std::wstring& text) override;
    void SetFirstBtnNameTxt(const std::wstring& text) override;
    void SetSecondBtnNameTxt(const std::wstring& text) override;

private:
    ReplyCallback replyCallback_;
};

} // namespace sim
