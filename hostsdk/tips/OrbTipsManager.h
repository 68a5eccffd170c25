#pragma once

#include "tips/TipsBase.h"
#include "tips/TipsTypes.h"

namespace Qva::TipsSdk
{

/// Makes, shows and closes tips. One object for the process, owned by the library. Any thread may call it. Out of a call
/// of its operations, the host must not call the plug-in's `Init` or `UnInit`, neither on the same thread nor on another
/// one that the call waits for: they wait for the task that the call comes from.
class QVA_TIPS_API OrbTipsManager
{
public:
    /// Null when the tips library is not available.
    static OrbTipsManager* GetInstance();

    /// Whether the tip has been created and not yet closed. Any pointer may be asked about, null too.
    bool IsTipsExist(TipsBase* tip);

    /// Makes a tip, not yet shown. Null on failure. `owner` is only compared.
    TipsBase* CreateTips(void* owner, EnmTipsType type, int tipsId);

    /// Shows a tip; `other` is a tip to show it in place of, or null.
    void Show(TipsBase* tip, TipsBase* other);

    /// Closes and destroys a tip. Returns false when there is no such tip.
    bool CloseTips(TipsBase* tip);

    OrbTipsManager(const OrbTipsManager&) = delete;
    OrbTipsManager& operator=(const OrbTipsManager&) = delete;

private:
    OrbTipsManager();
    ~OrbTipsManager();
};

} // namespace Qva::TipsSdk
