#pragma once

#include <cstdint>

#ifndef QVA_TIPS_API
#define QVA_TIPS_API __declspec(dllimport)
#endif

namespace Qva::TipsSdk
{

/// Kinds of tip. The library knows more of them.
enum class EnmTipsType : std::int32_t
{
    VoiceChange = 9,
};

/// How a tip was answered. The library knows more of them.
enum class EnmReplyEvent : std::int32_t
{
    ButtonClicked = 9,
};

/// Which tip goes before which. The library knows more of them.
enum class PopupPriority : std::int32_t
{
    Normal = 1,
};

} // namespace Qva::TipsSdk
