#include "simulator/host/tips/ReplyHolder.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace sim
{

namespace
{

constexpr int rubbish = 0xDD;

} // namespace

class ReplyHolder::Stay
{
public:
    explicit Stay(ReplyHolder& holder) : holder_(holder) {}
    ~Stay() { holder_.DestroyTaken(Leave()); }
    Stay(const Stay&) = delete;
    Stay& operator=(const Stay&) = delete;

private:
    Callback* Leave()
    {
        const std::scoped_lock lock(holder_.mutex_);
        holder_.inside_.erase(std::ranges::find(holder_.inside_, std::this_thread::get_id()));
        return holder_.isUnwanted_ ? holder_.TakeForDestruction() : nullptr;
    }

    ReplyHolder& holder_;
};

void ReplyHolder::Set(const Callback& callback)
{
    const std::scoped_lock lock(mutex_);
    if (callback_ != nullptr)
    {
        *callback_ = callback;
    }
    else if (!isUnwanted_)
    {
        callback_ = new (storage_) Callback(callback);
    }
}

ReplyHolder::Callback ReplyHolder::Copy() const
{
    const std::scoped_lock lock(mutex_);
    return callback_ != nullptr && !isUnwanted_ ? *callback_ : Callback();
}

bool ReplyHolder::CallInPlace(Qva::TipsSdk::EnmReplyEvent event, std::wstring& param)
{
    const Callback* callback = nullptr;
    {
        const std::scoped_lock lock(mutex_);
        if (callback_ == nullptr || isUnwanted_ || !*callback_)
        {
            return false;
        }
        inside_.push_back(std::this_thread::get_id());
        callback = callback_;
    }
    const Stay stay(*this);
    // The callback may be destroyed in this call. Nothing looks at it afterwards, the function object's own call neither.
    (*callback)(event, param);
    return true;
}

void ReplyHolder::Destroy()
{
    Callback* callback = nullptr;
    {
        const std::scoped_lock lock(mutex_);
        isUnwanted_ = true;
        callback = TakeForDestruction();
    }
    DestroyTaken(callback);
}

/// With the lock held. Null when another thread is inside it, or it has been taken.
ReplyHolder::Callback* ReplyHolder::TakeForDestruction()
{
    const auto isOther = [](std::thread::id thread)
    {
        return thread != std::this_thread::get_id();
    };
    return std::ranges::any_of(inside_, isOther) ? nullptr : std::exchange(callback_, nullptr);
}

/// Without the lock: what a callback has captured may do anything when it goes.
void ReplyHolder::DestroyTaken(Callback* callback)
{
    if (callback != nullptr)
    {
        std::destroy_at(callback);
        std::memset(storage_, rubbish, sizeof(storage_));
    }
}

} // namespace sim
