#pragma once

#include "tips/TipsBase.h"
#include "tips/TipsTypes.h"

#include <string>

namespace Qva::TipsSdk
{

/// A tip with a text and two buttons. `OrbTipsManager::CreateTips` makes one for `EnmTipsType::VoiceChange`.
class QVA_TIPS_API TipsPopUpWnd : public TipsBase
{
public:
    virtual void SetContentTxt(const std::wstring& text) = 0;
    virtual void SetFirstBtnNameTxt(const std::wstring& text) = 0;
    virtual void SetSecondBtnNameTxt(const std::wstring& text) = 0;
};

} // namespace Qva::TipsSdk
