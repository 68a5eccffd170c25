#include "simulator/host/ipc/IpcClientImpl.h"

#include "simulator/host/ipc/MessageDispatcher.h"
#include "simulator/host/ipc/ServiceLink.h"
#include "simulator/host/wire/Describe.h"
#include "simulator/host/wire/Frame.h"
#include "simulator/timeline/Cause.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"

#include <utility>

IPCMessageClient::Impl::Impl(std::int32_t clientId, std::string_view bus)
    : clientId_(clientId), dispatcher_(sim::MessageDispatcher::Start(clientId))
{
    try
    {
        link_ = std::make_unique<sim::ServiceLink>(clientId, bus, dispatcher_);
    }
    catch (...)
    {
        dispatcher_->Close();
        throw;
    }
}

IPCMessageClient::Impl::~Impl() = default;

void IPCMessageClient::Impl::RegisterMessageCallback(std::int32_t messageId, MessageCallback callback)
{
    Record("RegisterMessageCallback", std::to_string(messageId));
    dispatcher_->SetMessageCallback(messageId, std::move(callback));
}

void IPCMessageClient::Impl::RegisterPublishMessageCallback(MessageCallback callback)
{
    Record("RegisterPublishMessageCallback");
    dispatcher_->SetPublishCallback(std::move(callback));
}

bool IPCMessageClient::Impl::Subscribe(std::uint32_t moduleId, std::uint32_t messageId)
{
    Record("SubscribeIPCMessage", std::to_string(moduleId) + " " + std::to_string(messageId));
    return !sim::FaultPlan::Instance().Enter("IPCMessageClient::SubscribeIPCMessage") &&
           link_->Subscribe(static_cast<std::int32_t>(moduleId), static_cast<std::int32_t>(messageId));
}

bool IPCMessageClient::Impl::DropCallbacks()
{
    Record("UnRegisterMessageCallbackAll");
    return dispatcher_->DropCallbacks();
}

bool IPCMessageClient::Impl::PostText(std::int32_t messageId, std::int32_t moduleId, std::string_view text)
{
    return Post(messageId, moduleId, text, sim::Quoted(text));
}

bool IPCMessageClient::Impl::PostBytes(std::int32_t messageId, std::int32_t moduleId, std::string_view bytes)
{
    return Post(messageId, moduleId, bytes, sim::DescribeBytes(bytes));
}

void IPCMessageClient::Impl::Close()
{
    Record("~IpcProxy");
    dispatcher_->Stop();
    link_->Close();
    dispatcher_->Close();
}

void IPCMessageClient::Impl::Record(const std::string& call, const std::string& details, sim::EntryFacts facts) const
{
    const std::string client = call + " " + std::to_string(clientId_);
    facts.values.emplace_back("client", std::to_string(clientId_));
    sim::Timeline::Instance().Add("ipc", details.empty() ? client : client + " " + details, std::move(facts));
}

bool IPCMessageClient::Impl::Post(std::int32_t messageId, std::int32_t moduleId, std::string_view payload,
                                  const std::string& described)
{
    const sim::CauseId id = sim::NewCause();
    Record("PostMsg", std::to_string(messageId) + " " + std::to_string(moduleId) + " " + described,
           {.kind = "post",
            .values = {{"message", std::to_string(messageId)}, {"module", std::to_string(moduleId)}},
            .gives = id});
    return !sim::FaultPlan::Instance().Enter("IpcProxy::PostMsg") &&
           link_->Send({.kind = sim::FrameKind::Post,
                        .clientId = clientId_,
                        .moduleId = moduleId,
                        .messageId = messageId,
                        .dataLength = static_cast<std::int32_t>(payload.size()),
                        .hasData = true,
                        .payload = std::string(payload),
                        .cause = id});
}
