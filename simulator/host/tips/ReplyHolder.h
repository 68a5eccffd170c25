#pragma once

#include "tips/TipsBase.h"
#include "tips/TipsTypes.h"

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

namespace sim
{

/// The reply callback of one tip. It can be destroyed while it runs.
///
/// Shared by the tip and whoever answers it. Every operation may be called from any thread.
class ReplyHolder
{
public:
    using Callback = Qva::TipsSdk::TipsBase::ReplyCallback;

    ReplyHolder() = default;
    ~ReplyHolder() { Destroy(); }

    /// Not while it runs, nor after it has been destroyed.
    void Set(const Callback& callback);

    /// A copy; empty when there is no callback, or no longer.
    Callback Copy() const;

    /// Calls the callback itself, with a copy of the text that belongs to the holder. False when there is none, or no
    /// longer.
    bool CallInPlace(Qva::TipsSdk::EnmReplyEvent event, const std::wstring& param);

    /// Destroys the callback for good: at once, also out of the callback itself, unless another thread is inside it; then
    /// when the last of them leaves it. Out of the callback itself, the text that it was called with is overwritten.
    void Destroy();

    ReplyHolder(const ReplyHolder&) = delete;
    ReplyHolder& operator=(const ReplyHolder&) = delete;

private:
    /// A thread's stay inside the callback, and the text that it came with.
    class Stay;

    Callback* TakeForDestruction();
    void DestroyTaken(Callback* callback);

    mutable std::mutex mutex_;                                // guards the fields below
    alignas(Callback) std::byte storage_[sizeof(Callback)]{}; // of the callback, if there is one
    Callback* callback_ = nullptr;
    std::vector<Stay*> inside_;
    bool isUnwanted_ = false; // true: destroyed, or to be destroyed
};

} // namespace sim
