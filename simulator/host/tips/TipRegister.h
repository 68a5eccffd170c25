#pragma once

#include "simulator/host/tips/RecordingTip.h"
#include "simulator/host/tips/ReplyHolder.h"

#include "tips/TipsBase.h"
#include "tips/TipsTypes.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
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
    using TipPointer = std::shared_ptr<RecordingTip>;

    static TipRegister& Instance();

    Qva::TipsSdk::TipsBase* Create(const void* owner, Qva::TipsSdk::EnmTipsType type, int tipsId);
    bool Exists(const Qva::TipsSdk::TipsBase* tip) const { return Find(tip) != nullptr; }
    std::size_t Count() const;

    TipPointer Find(const Qva::TipsSdk::TipsBase* tip) const; // null when there is no such tip
    TipPointer FindNumber(std::uint64_t number) const;        // the same

    /// From now on it is the tip that is showing.
    void SetShowing(const TipPointer& tip);
    TipPointer Showing() const; // null when none is

    /// Waits until a tip is showing, or none. False when `limit` has passed before.
    bool WaitForShowing(bool showing, std::chrono::milliseconds limit) const;

    /// Destroys the tip. Returns false when there is no such tip.
    bool Close(const Qva::TipsSdk::TipsBase* tip);
    bool CloseNumber(std::uint64_t number);
    void CloseAll();

    /// Whether the callback of a tip that is closed is kept.
    void SetKeepsCallbacks(bool keeps);
    ReplyHolder::Callback KeptCallback() const; // empty when none is

private:
    TipPointer FindLocked(const std::function<bool(const RecordingTip&)>& matches) const;
    bool Destroy(const TipPointer& tip);

    mutable std::mutex mutex_; // guards the fields below; neither callbacks nor tips are destroyed with it held
    mutable std::condition_variable changed_;
    std::vector<TipPointer> tips_;
    TipPointer showing_;
    std::uint64_t created_ = 0;
    bool keepsCallbacks_ = false;
    ReplyHolder::Callback kept_;
};

} // namespace sim
