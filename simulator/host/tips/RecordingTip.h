#pragma once

#include "simulator/host/tips/ReplyHolder.h"
#include "simulator/host/tips/TipsControl.h"
#include "tips/TipsPopUpWnd.h"
#include "tips/TipsTypes.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace sim
{

/// A tip that tells the timeline what is set on it ("tips": such as `SetTitleTxt "Headset audio"`), and remembers it.
///
/// Owned by the tip register. Any thread may call it; it is set up on one thread before it is shown.
class RecordingTip : public Qva::TipsSdk::TipsPopUpWnd
{
public:
    RecordingTip(std::uint64_t number, const void* owner, Qva::TipsSdk::EnmTipsType type, int tipsId);

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

    TipDescription Description() const;
    std::uint64_t Number() const { return number_; }
    const std::shared_ptr<ReplyHolder>& Reply() const { return reply_; }

private:
    template <typename Value> void Set(const char* call, Value TipDescription::*field, const Value& value);

    const std::uint64_t number_;
    const std::shared_ptr<ReplyHolder> reply_ = std::make_shared<ReplyHolder>(); // has its own lock
    mutable std::mutex mutex_;
    TipDescription description_; // guarded by mutex_
};

} // namespace sim
