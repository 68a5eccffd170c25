#include "simulator/host/tips/ReplyHolder.h"

#include "tips/TipsTypes.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new> // IWYU pragma: keep; placement new, which the check of includes does not see
#include <thread>
#include <utility>

namespace sim
{

namespace
{

constexpr int rubbish = 0xDD;
constexpr wchar_t rubbishCharacter = 0x2592;

} // namespace

class ReplyHolder::Stay
{
public:
    Stay(ReplyHolder& holder, const std::wstring& param) : holder_(holder), param_(param) {}
    ~Stay() { holder_.DestroyTaken(Leave()); }
    Stay(const Stay&) = delete;
    Stay& operator=(const Stay&) = delete;

    /// Null when there is no callback, or no longer.
    const Callback* Enter()
    {
        const std::scoped_lock lock(holder_.mutex_);
        if (holder_.callback_ == nullptr || holder_.isUnwanted_ || !*holder_.callback_)
        {
            return nullptr;
        }
        holder_.inside_.push_back(this);
        return holder_.callback_;
    }

    std::thread::id Thread() const { return thread_; }
    std::wstring& Param() { return param_; }
    void OverwriteParam() { std::ranges::fill(param_, rubbishCharacter); }

private:
    Callback* Leave()
    {
        const std::scoped_lock lock(holder_.mutex_);
        std::erase(holder_.inside_, this);
        return holder_.isUnwanted_ ? holder_.TakeForDestruction() : nullptr;
    }

    ReplyHolder& holder_;
    const std::thread::id thread_ = std::this_thread::get_id();
    std::wstring param_;
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

bool ReplyHolder::CallInPlace(Qva::TipsSdk::EnmReplyEvent event, const std::wstring& param)
{
    Stay stay(*this, param);
    const Callback* const callback = stay.Enter();
    if (callback == nullptr)
    {
        return false;
    }
    // The callback may be destroyed in this call. Nothing looks at it afterwards, the function object's own call neither.
    (*callback)(event, stay.Param());
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
    const auto isOther = [](const Stay* stay)
    {
        return stay->Thread() != std::this_thread::get_id();
    };
    if (std::ranges::any_of(inside_, isOther))
    {
        return nullptr;
    }
    std::ranges::for_each(inside_, &Stay::OverwriteParam);
    return std::exchange(callback_, nullptr);
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
