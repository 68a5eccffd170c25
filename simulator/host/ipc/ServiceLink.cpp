#include "simulator/host/ipc/ServiceLink.h"

#include "simulator/host/wire/Frame.h"
#include "simulator/host/wire/Handle.h"
#include "simulator/host/wire/PipeEnd.h"

#include <windows.h>

#include <algorithm>

namespace sim
{

namespace
{

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds firstPatience = 2s;
constexpr std::chrono::milliseconds retryPause = 20ms;

} // namespace

ServiceLink::ServiceLink(std::int32_t clientId, std::string_view bus, std::shared_ptr<MessageDispatcher> dispatcher)
    : clientId_(clientId), path_(PipePath(bus)), dispatcher_(std::move(dispatcher))
{
    Connect(false, firstPatience);
    thread_ = std::thread([this] { Run(); });
}

ServiceLink::~ServiceLink()
{
    Close();
}

bool ServiceLink::Subscribe(std::int32_t moduleId, std::int32_t messageId)
{
    const Subscription subscription(moduleId, messageId);
    const std::scoped_lock lock(mutex_);
    if (closed_)
    {
        return false;
    }
    if (std::ranges::find(subscriptions_, subscription) == subscriptions_.end())
    {
        subscriptions_.push_back(subscription);
        SendSubscriptionLocked(subscription);
    }
    return true;
}

bool ServiceLink::Send(const Frame& frame)
{
    const std::scoped_lock lock(mutex_);
    return connection_ && connection_->Send(frame);
}

void ServiceLink::Close()
{
    {
        const std::scoped_lock lock(mutex_);
        closed_ = true;
    }
    SetEvent(closing_.get());
    if (const auto connection = Connection())
    {
        connection->Close();
    }
    if (thread_.joinable())
    {
        thread_.join();
    }
    DropConnection();
}

void ServiceLink::Run()
{
    auto connection = Connection();
    while (!WaitForClosing(connection ? 0ms : retryPause))
    {
        if (connection)
        {
            ReceiveUntilLost(*connection);
            DropConnection();
        }
        else
        {
            Connect(true, retryPause);
        }
        connection = Connection();
    }
}

bool ServiceLink::WaitForClosing(std::chrono::milliseconds limit) const
{
    return WaitForSingleObject(closing_.get(), static_cast<DWORD>(limit.count())) == WAIT_OBJECT_0;
}

void ServiceLink::Connect(bool late, std::chrono::milliseconds patience)
{
    Handle pipe = OpenPipe(path_, patience);
    if (!pipe)
    {
        return;
    }
    const std::scoped_lock lock(mutex_);
    if (!closed_)
    {
        connection_ = std::make_shared<PipeConnection>(std::move(pipe));
        GreetLocked(late);
    }
}

void ServiceLink::GreetLocked(bool late) const
{
    Frame hello{.kind = FrameKind::Hello, .clientId = clientId_, .late = late, .payload = {}};
    connection_->Send(hello);
    std::ranges::for_each(subscriptions_, [this](const auto& known) { SendSubscriptionLocked(known); });
}

void ServiceLink::SendSubscriptionLocked(const Subscription& subscription) const
{
    if (connection_)
    {
        connection_->Send({.kind = FrameKind::Subscribe,
                           .clientId = clientId_,
                           .moduleId = subscription.first,
                           .messageId = subscription.second,
                           .payload = {}});
    }
}

void ServiceLink::ReceiveUntilLost(PipeConnection& connection)
{
    while (auto frame = connection.Receive())
    {
        if (IsWanted(*frame))
        {
            dispatcher_->Push(std::move(*frame));
        }
    }
}

bool ServiceLink::IsWanted(const Frame& frame) const
{
    if (frame.kind == FrameKind::Message || frame.kind == FrameKind::PublishUnasked)
    {
        return true;
    }
    const std::scoped_lock lock(mutex_);
    return frame.kind == FrameKind::Publish &&
           std::ranges::find(subscriptions_, Subscription(frame.moduleId, frame.messageId)) != subscriptions_.end();
}

std::shared_ptr<PipeConnection> ServiceLink::Connection() const
{
    const std::scoped_lock lock(mutex_);
    return connection_;
}

void ServiceLink::DropConnection()
{
    const std::scoped_lock lock(mutex_);
    connection_.reset();
}

} // namespace sim
