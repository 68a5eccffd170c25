#include "simulator/host/ipc/MessageDispatcher.h"

#include "simulator/host/ipc/ReceivedMessage.h"

#include <string>
#include <utility>

namespace sim
{

std::shared_ptr<MessageDispatcher> MessageDispatcher::Start(std::int32_t clientId)
{
    auto dispatcher = std::make_shared<MessageDispatcher>(clientId);
    dispatcher->thread_ = std::thread([dispatcher] { dispatcher->Run(); });
    return dispatcher;
}

MessageDispatcher::MessageDispatcher(std::int32_t clientId) : clientId_(clientId) {}

void MessageDispatcher::SetMessageCallback(std::int32_t messageId, Callback callback)
{
    auto replacement = std::make_shared<const Callback>(std::move(callback));
    const std::scoped_lock lock(mutex_);
    if (!stopped_)
    {
        messageCallbacks_[messageId].swap(replacement);
    }
}

void MessageDispatcher::SetPublishCallback(Callback callback)
{
    auto replacement = std::make_shared<const Callback>(std::move(callback));
    const std::scoped_lock lock(mutex_);
    if (!stopped_)
    {
        publishCallback_.swap(replacement);
    }
}

bool MessageDispatcher::DropCallbacks()
{
    std::map<std::int32_t, SharedCallback> dropped;
    SharedCallback droppedPublish;
    {
        const std::scoped_lock lock(mutex_);
        dropped.swap(messageCallbacks_);
        droppedPublish.swap(publishCallback_);
    }
    return !dropped.empty() || droppedPublish != nullptr;
}

void MessageDispatcher::Push(Frame frame)
{
    const std::scoped_lock lock(mutex_);
    queue_.push_back(std::move(frame));
    changed_.notify_one();
}

void MessageDispatcher::Stop()
{
    const std::scoped_lock lock(mutex_);
    stopped_ = true;
    changed_.notify_one();
}

void MessageDispatcher::Close()
{
    Stop();
    if (thread_.get_id() == std::this_thread::get_id())
    {
        thread_.detach();
    }
    else if (thread_.joinable())
    {
        thread_.join();
    }
    DropCallbacks();
}

void MessageDispatcher::Run()
{
    while (const auto delivery = WaitForDelivery())
    {
        Deliver(*delivery);
    }
}

std::optional<MessageDispatcher::Delivery> MessageDispatcher::WaitForDelivery()
{
    std::unique_lock lock(mutex_);
    for (;;)
    {
        changed_.wait(lock, [this] { return stopped_ || !queue_.empty(); });
        if (stopped_)
        {
            return std::nullopt;
        }
        Delivery delivery{std::move(queue_.front()), nullptr, NewCause()};
        queue_.pop_front();
        delivery.callback = FindLocked(delivery.frame);
        if (delivery.callback)
        {
            // Told under the lock: no callback begins after it has been dropped, in the timeline's order too.
            Record("deliver", delivery.frame.messageId,
                   {.kind = "delivery begins", .gives = delivery.id, .cause = delivery.frame.cause});
            return delivery;
        }
    }
}

void MessageDispatcher::Deliver(const Delivery& delivery) const
{
    const CauseScope scope(delivery.id);
    {
        const ReceivedMessage message(delivery.frame);
        try
        {
            (*delivery.callback)(message.Item());
        }
        catch (...)
        {
            Timeline::Instance().Add("ipc", "callback of " + std::to_string(clientId_) + " threw");
        }
    }
    Record("delivered", delivery.frame.messageId, {.kind = "delivery ends"});
}

MessageDispatcher::SharedCallback MessageDispatcher::FindLocked(const Frame& frame) const
{
    if (frame.kind != FrameKind::Message)
    {
        return publishCallback_;
    }
    const auto found = messageCallbacks_.find(frame.messageId);
    return found != messageCallbacks_.end() ? found->second : nullptr;
}

void MessageDispatcher::Record(const char* what, std::int32_t messageId, EntryFacts facts) const
{
    const std::string event = std::string(what) + " " + std::to_string(clientId_) + " " + std::to_string(messageId);
    facts.values = {{"client", std::to_string(clientId_)}, {"message", std::to_string(messageId)}};
    Timeline::Instance().Add("ipc", event, std::move(facts));
}

} // namespace sim
