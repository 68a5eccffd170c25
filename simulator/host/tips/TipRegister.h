#pragma once

#include "simulator/host/tips/RecordingTip.h"

#include <memory>
#include <mutex>
#include <vector>

namespace sim
{

/// The tips that have been created and not yet closed.
///
/// One object for the process. Every operation may be called from any thread.
class TipRegister
{
public:
    static TipRegister& Instance();

    Qva::TipsSdk::TipsBase* Create();
    bool Exists(const Qva::TipsSdk::TipsBase* tip) const;

    /// Destroys the tip. Returns false when there is no such tip.
    bool Close(const Qva::TipsSdk::TipsBase* tip);

private:
    using Tips = std::vector<std::unique_ptr<RecordingTip>>;

    Tips::const_iterator FindLocked(const Qva::TipsSdk::TipsBase* tip) const;

    mutable std::mutex mutex_;
    Tips tips_; // guarded by mutex_
};

} // namespace sim
