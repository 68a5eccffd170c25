#pragma once

#include "tips/TipsTypes.h"

#include <cstdint>
#include <functional>
#include <string>

namespace Qva::TipsSdk
{

/// A pop-up tip. It is owned by the tips library and made and closed through `OrbTipsManager`; a pointer to it is
/// valid while `OrbTipsManager::IsTipsExist` says so. Set a tip up before it is shown, on one thread.
class QVA_TIPS_API TipsBase
{
public:
    /// `param` names the button: "secondBtn" for the second one.
    using ReplyCallback = std::function<void(EnmReplyEvent event, std::wstring& param)>;

    virtual ~TipsBase() = default;

    virtual void SetPriority(PopupPriority priority) = 0;
    virtual void SetTitleIcon(const std::wstring& path) = 0;
    virtual void SetTitleTxt(const std::wstring& text) = 0;
    virtual void SetAutoClose(bool autoClose) = 0;
    virtual void SetAutoCloseToNotificationCenter(bool toNotificationCenter) = 0;

    /// Time in milliseconds until a tip that closes by itself does so.
    virtual void SetCloseDelay(std::uint64_t delayMs) = 0;

    /// The callback runs on a thread of the tips library, or inside `OrbTipsManager::Show`. It may call any operation
    /// of `OrbTipsManager`. `CloseTips` destroys it, also out of itself: what it has captured is then gone.
    virtual void SetReplyCallback(const ReplyCallback& callback) = 0;
};

} // namespace Qva::TipsSdk
