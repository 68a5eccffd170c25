#include "device/IpcProxy.h"

#include "simulator/host/HostControl.h"
#include "simulator/host/ipc/IpcClientImpl.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"

#include <cstddef>
#include <stdexcept>
#include <string_view>

namespace VynCore
{

namespace
{

std::shared_ptr<IPCMessageClient::Impl> OpenClient(std::int32_t clientId)
{
    sim::Timeline::Instance().Add("ipc", "IpcProxy " + std::to_string(clientId));
    if (sim::FaultPlan::Instance().Enter("IpcProxy::IpcProxy"))
    {
        throw std::runtime_error("no IPC client");
    }
    return std::make_shared<IPCMessageClient::Impl>(clientId, sim::HostControl::Instance().IpcBus());
}

} // namespace

IpcProxy::IpcProxy(std::int32_t clientId)
    : impl_(OpenClient(clientId)), client_(std::make_unique<IPCMessageClient>(impl_))
{
}

IpcProxy::~IpcProxy()
{
    impl_->Close();
}

IPCMessageClient* IpcProxy::GetIpcClient()
{
    return sim::FaultPlan::Instance().Enter("IpcProxy::GetIpcClient") ? nullptr : client_.get();
}

bool IpcProxy::PostMsg(std::int32_t messageId, std::int32_t moduleId, const std::string& text)
{
    return impl_->PostText(messageId, moduleId, text);
}

bool IpcProxy::PostMsg(std::int32_t messageId, std::int32_t moduleId, const char* bytes, std::int32_t length)
{
    const bool hasBytes = bytes != nullptr && length > 0;
    const std::string_view payload = hasBytes ? std::string_view(bytes, static_cast<std::size_t>(length)) : "";
    return impl_->PostBytes(messageId, moduleId, payload);
}

} // namespace VynCore
