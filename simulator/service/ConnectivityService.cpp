#include "simulator/service/ConnectivityService.h"

#include "simulator/host/wire/Frame.h"
#include "simulator/host/wire/Package.h"
#include "simulator/service/BusServer.h"
#include "simulator/service/HeadsetTable.h"
#include "simulator/service/MessageIds.h"

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <stdexcept>
#include <utility>
#include <variant>

namespace sim
{

namespace
{

Frame MakeFrame(FrameKind kind, std::int32_t moduleId, std::int32_t messageId, const MessageData& data)
{
    const auto size = data.bytes ? static_cast<std::int32_t>(data.bytes->size()) : 0;
    const std::int32_t length = data.length.value_or(size);
    if (data.bytes && length > size)
    {
        throw std::invalid_argument("the length told is greater than the number of bytes");
    }
    return {.kind = kind,
            .moduleId = moduleId,
            .messageId = messageId,
            .dataLength = length,
            .hasData = data.bytes.has_value(),
            .payload = data.bytes.value_or("")};
}

Frame MakeUpdate(std::int32_t messageId, std::int32_t evType, const Headset& headset)
{
    const std::string package = EncodePackage({evType, headset.deviceId, headset.deviceMacAddr, headset.name,
                                               headset.alias, headset.group, headset.modelId, headset.subModelId});
    return MakeFrame(FrameKind::Message, ids::service, messageId, {.bytes = package});
}

std::optional<std::int32_t> OneOrAll(std::int32_t clientId)
{
    return clientId == ConnectivityService::everyClient ? std::nullopt : std::optional(clientId);
}

/// The headset that a connect request names, as far as it tells; none when the request is malformed.
std::optional<Headset> RequestedHeadset(const std::string& payload)
{
    const auto items = DecodePackage(payload);
    const bool valid =
        items && items->size() == 4 &&
        std::ranges::all_of(*items, [](const PackageItem& item) { return std::holds_alternative<std::string>(item); });
    if (!valid)
    {
        return std::nullopt;
    }
    const auto text = [&items](std::size_t index)
    {
        return std::get<std::string>((*items)[index]);
    };
    return Headset{.deviceId = text(0),
                   .deviceMacAddr = text(1),
                   .name = {},
                   .alias = {},
                   .group = {},
                   .modelId = text(2),
                   .subModelId = text(3)};
}

HeadsetTable ConnectedHeadsets(const std::vector<Headset>& headsets)
{
    HeadsetTable table;
    std::ranges::for_each(headsets, [&table](const Headset& headset) { table.Add(headset, true); });
    return table;
}

} // namespace

/// Threads as for the service itself. The server comes last: its threads use the other fields.
class ConnectivityService::Impl
{
public:
    Impl(std::string_view bus, ServiceOptions options);

    void Update(std::int32_t messageId, std::int32_t evType, const Headset& headset);

    mutable std::mutex mutex; // guards the fields up to the server
    mutable std::condition_variable posted;
    bool silent;
    std::optional<std::int32_t> connectAnswer;
    HeadsetTable headsets;
    std::vector<ServicePost> posts;
    Observer observer;

    BusServer server;

private:
    void OnFrame(const Frame& frame, bool late);
    void OnSubscription(const Frame& frame, bool late);
    void OnPost(const Frame& frame);
    Observer Keep(const ServicePost& post);
    void Answer(const ServicePost& post);
    void AnswerQuery(std::int32_t clientId);
    void AnswerConnectRequest(const ServicePost& post);
    void AnnounceTo(std::int32_t clientId);
    bool IsSilent() const;
};

ConnectivityService::Impl::Impl(std::string_view bus, ServiceOptions options)
    : silent(options.silent), connectAnswer(options.connectAnswer), headsets(ConnectedHeadsets(options.headsets)),
      server(bus, [this](const Frame& frame, bool late) { OnFrame(frame, late); })
{
}

void ConnectivityService::Impl::OnFrame(const Frame& frame, bool late)
{
    if (frame.kind == FrameKind::Subscribe)
    {
        OnSubscription(frame, late);
    }
    else if (frame.kind == FrameKind::Post)
    {
        OnPost(frame);
    }
}

void ConnectivityService::Impl::OnSubscription(const Frame& frame, bool late)
{
    if (late && !IsSilent() && frame.moduleId == ids::service && frame.messageId == ids::started)
    {
        AnnounceTo(frame.clientId);
    }
}

void ConnectivityService::Impl::OnPost(const Frame& frame)
{
    const ServicePost post{frame.clientId, frame.messageId, frame.moduleId, frame.payload};
    if (const Observer tell = Keep(post))
    {
        tell(post);
    }
    if (!IsSilent())
    {
        Answer(post);
    }
}

ConnectivityService::Observer ConnectivityService::Impl::Keep(const ServicePost& post)
{
    const std::scoped_lock lock(mutex);
    posts.push_back(post);
    posted.notify_all();
    return observer;
}

void ConnectivityService::Impl::Answer(const ServicePost& post)
{
    switch (post.messageId)
    {
    case ids::started:
        return AnnounceTo(post.clientId);
    case ids::queryConnected:
        return AnswerQuery(post.clientId);
    case ids::connectRequest:
        return AnswerConnectRequest(post);
    default:
        return;
    }
}

void ConnectivityService::Impl::AnnounceTo(std::int32_t clientId)
{
    server.Send(MakeFrame(FrameKind::Publish, ids::service, ids::started, {}),
                {.clientId = clientId, .subscription = Subscription(ids::service, ids::started)});
}

void ConnectivityService::Impl::AnswerQuery(std::int32_t clientId)
{
    std::vector<Headset> connected;
    {
        const std::scoped_lock lock(mutex);
        connected = headsets.Connected();
    }
    for (const Headset& headset : connected)
    {
        server.Send(MakeUpdate(ids::connectState, queryAnswer, headset), {.clientId = clientId});
    }
}

void ConnectivityService::Impl::AnswerConnectRequest(const ServicePost& post)
{
    const auto requested = RequestedHeadset(post.payload);
    if (!requested)
    {
        return;
    }
    std::optional<std::int32_t> evType;
    Headset headset;
    {
        const std::scoped_lock lock(mutex);
        evType = connectAnswer;
        headset = headsets.Find(requested->deviceMacAddr).value_or(*requested);
    }
    if (evType)
    {
        Update(ids::connectState, *evType, headset);
    }
}

void ConnectivityService::Impl::Update(std::int32_t messageId, std::int32_t evType, const Headset& headset)
{
    {
        const std::scoped_lock lock(mutex);
        headsets.NoteEvent(headset.deviceMacAddr, evType);
    }
    server.Send(MakeUpdate(messageId, evType, headset), {});
}

bool ConnectivityService::Impl::IsSilent() const
{
    const std::scoped_lock lock(mutex);
    return silent;
}

ConnectivityService::ConnectivityService(std::string_view bus, ServiceOptions options)
    : impl_(std::make_unique<Impl>(bus, std::move(options)))
{
}

ConnectivityService::~ConnectivityService() = default;

void ConnectivityService::Stop()
{
    impl_->server.Stop();
}

void ConnectivityService::DisconnectClients()
{
    impl_->server.DisconnectClients();
}

void ConnectivityService::SetSilent(bool silent)
{
    const std::scoped_lock lock(impl_->mutex);
    impl_->silent = silent;
}

void ConnectivityService::SetConnectAnswer(std::optional<std::int32_t> evType)
{
    const std::scoped_lock lock(impl_->mutex);
    impl_->connectAnswer = evType;
}

void ConnectivityService::SetObserver(Observer observer)
{
    const std::scoped_lock lock(impl_->mutex);
    impl_->observer.swap(observer);
}

void ConnectivityService::AddHeadset(const Headset& headset, bool connected)
{
    const std::scoped_lock lock(impl_->mutex);
    impl_->headsets.Add(headset, connected);
}

void ConnectivityService::RemoveHeadset(const std::string& deviceMacAddr)
{
    const std::scoped_lock lock(impl_->mutex);
    impl_->headsets.Remove(deviceMacAddr);
}

std::optional<Headset> ConnectivityService::FindHeadset(const std::string& deviceMacAddr) const
{
    const std::scoped_lock lock(impl_->mutex);
    return impl_->headsets.Find(deviceMacAddr);
}

void ConnectivityService::SendConnectState(std::int32_t messageId, std::int32_t evType, const Headset& headset)
{
    impl_->Update(messageId, evType, headset);
}

void ConnectivityService::SendDeviceChange(std::int32_t switchEvType, const std::string& toName,
                                           const std::string& fromName, const std::string& deviceMacAddr)
{
    SendRaw(ids::deviceChange, ids::service, {.bytes = EncodePackage({switchEvType, toName, fromName, deviceMacAddr})});
}

void ConnectivityService::SendRaw(std::int32_t messageId, std::int32_t moduleId, const MessageData& data,
                                  std::int32_t clientId)
{
    impl_->server.Send(MakeFrame(FrameKind::Message, moduleId, messageId, data), {.clientId = OneOrAll(clientId)});
}

void ConnectivityService::Publish(std::int32_t moduleId, std::int32_t messageId, const MessageData& data,
                                  std::int32_t clientId)
{
    impl_->server.Send(MakeFrame(FrameKind::Publish, moduleId, messageId, data),
                       {.clientId = OneOrAll(clientId), .subscription = Subscription(moduleId, messageId)});
}

void ConnectivityService::PublishUnasked(std::int32_t moduleId, std::int32_t messageId, const MessageData& data,
                                         std::int32_t clientId)
{
    impl_->server.Send(MakeFrame(FrameKind::PublishUnasked, moduleId, messageId, data),
                       {.clientId = OneOrAll(clientId)});
}

std::vector<ServicePost> ConnectivityService::Posts() const
{
    const std::scoped_lock lock(impl_->mutex);
    return impl_->posts;
}

std::vector<ServicePost> ConnectivityService::Posts(std::int32_t messageId) const
{
    std::vector<ServicePost> posts = Posts();
    std::erase_if(posts, [messageId](const ServicePost& post) { return post.messageId != messageId; });
    return posts;
}

bool ConnectivityService::WaitForPost(std::int32_t messageId, std::size_t count, std::chrono::milliseconds limit) const
{
    std::unique_lock lock(impl_->mutex);
    return impl_->posted.wait_for(lock, limit,
                                  [&]
                                  {
                                      const auto arrived =
                                          std::ranges::count(impl_->posts, messageId, &ServicePost::messageId);
                                      return static_cast<std::size_t>(arrived) >= count;
                                  });
}

bool ConnectivityService::WaitForClient(std::int32_t clientId, std::chrono::milliseconds limit) const
{
    return impl_->server.WaitForClient({.clientId = clientId}, limit);
}

bool ConnectivityService::WaitForSubscription(std::int32_t clientId, std::int32_t moduleId, std::int32_t messageId,
                                              std::chrono::milliseconds limit) const
{
    return impl_->server.WaitForClient({.clientId = clientId, .subscription = Subscription(moduleId, messageId)},
                                       limit);
}

bool ConnectivityService::WaitForNoClient(std::int32_t clientId, std::chrono::milliseconds limit) const
{
    return impl_->server.WaitForNoClient(clientId, limit);
}

} // namespace sim
