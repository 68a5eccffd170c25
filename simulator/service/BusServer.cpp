#include "simulator/service/BusServer.h"

#include "simulator/host/wire/Describe.h"
#include "simulator/host/wire/Frame.h"
#include "simulator/host/wire/Handle.h"
#include "simulator/timeline/Cause.h"
#include "simulator/timeline/Timeline.h"

#include <algorithm>
#include <string>

namespace sim
{

namespace
{

std::string Numbers(const Frame& frame)
{
    return std::to_string(frame.clientId) + " " + std::to_string(frame.moduleId) + " " +
           std::to_string(frame.messageId);
}

void Record(const std::string& event, EntryFacts facts)
{
    Timeline::Instance().Add("service", event, std::move(facts));
}

EntryFacts FactsOf(const char* kind, std::int32_t clientId, const Frame& frame, CauseId gives)
{
    return {.kind = kind,
            .values = {{"client", std::to_string(clientId)},
                       {"message", std::to_string(frame.messageId)},
                       {"module", std::to_string(frame.moduleId)}},
            .gives = gives};
}

EntryFacts FactsOf(const char* kind, std::int32_t clientId)
{
    return {.kind = kind, .values = {{"client", std::to_string(clientId)}}};
}

/// `id` names the entry.
void RecordReceived(const Frame& frame, CauseId id)
{
    switch (frame.kind)
    {
    case FrameKind::Hello:
        return Record("hello " + std::to_string(frame.clientId) + (frame.late ? " late" : ""),
                      FactsOf("client comes", frame.clientId));
    case FrameKind::Subscribe:
        return Record("subscribe " + Numbers(frame), FactsOf("subscription", frame.clientId, frame, id));
    default:
        EntryFacts facts = FactsOf("post arrives", frame.clientId, frame, id);
        facts.cause = frame.cause;
        return Record("post " + std::to_string(frame.clientId) + " " + std::to_string(frame.messageId) + " " +
                          std::to_string(frame.moduleId) + " " + DescribePayload(frame.payload),
                      std::move(facts));
    }
}

std::string DescribeData(const Frame& frame)
{
    const std::string data = frame.hasData ? DescribePayload(frame.payload) : "null";
    const bool plain = frame.dataLength == static_cast<std::int32_t>(frame.payload.size());
    return plain ? data : data + " length " + std::to_string(frame.dataLength);
}

void RecordSent(const Frame& frame, std::int32_t clientId)
{
    const std::string client = std::to_string(clientId) + " ";
    const std::string message = std::to_string(frame.messageId) + " ";
    const std::string module = std::to_string(frame.moduleId) + " ";
    const std::string ids = frame.kind == FrameKind::Message ? "message " + client + message + module
                                                             : "publish " + client + module + message;
    Record(ids + DescribeData(frame),
           FactsOf(frame.kind == FrameKind::Message ? "message" : "publication", clientId, frame, frame.cause));
}

} // namespace

bool BusServer::Client::Matches(const Receivers& receivers) const
{
    return connection && id && (!receivers.clientId || *receivers.clientId == *id) &&
           (!receivers.subscription || subscriptions.contains(*receivers.subscription));
}

BusServer::BusServer(std::string_view bus, Handler handler)
    : handler_(std::move(handler)), listener_(bus), acceptThread_([this] { AcceptClients(); })
{
}

BusServer::~BusServer()
{
    Stop();
}

void BusServer::Stop()
{
    listener_.Close();
    if (acceptThread_.joinable())
    {
        acceptThread_.join();
    }
    DisconnectClients();
    std::vector<std::shared_ptr<Client>> clients;
    {
        const std::scoped_lock lock(mutex_);
        clients.swap(clients_);
    }
    std::ranges::for_each(clients, [](const auto& client) { client->thread.join(); });
}

void BusServer::DisconnectClients()
{
    const std::scoped_lock lock(mutex_);
    for (const auto& client : clients_)
    {
        if (client->connection)
        {
            client->connection->Close();
            client->connection.reset();
        }
    }
    changed_.notify_all();
}

void BusServer::Send(const Frame& frame, const Receivers& receivers)
{
    std::vector<std::pair<std::int32_t, std::shared_ptr<PipeConnection>>> found;
    {
        const std::scoped_lock lock(mutex_);
        for (const auto& client : clients_)
        {
            if (client->Matches(receivers))
            {
                found.emplace_back(*client->id, client->connection);
            }
        }
    }
    for (const auto& [clientId, connection] : found)
    {
        Frame sent = frame;
        sent.cause = NewCause();
        RecordSent(sent, clientId);
        connection->Send(sent);
    }
}

bool BusServer::WaitForClient(const Receivers& wanted, std::chrono::milliseconds limit) const
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return HasClientLocked(wanted); });
}

bool BusServer::WaitForNoClient(std::int32_t clientId, std::chrono::milliseconds limit) const
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return !HasClientLocked({.clientId = clientId}); });
}

bool BusServer::HasClientLocked(const Receivers& wanted) const
{
    return std::ranges::any_of(clients_, [&wanted](const auto& client) { return client->Matches(wanted); });
}

void BusServer::AcceptClients()
{
    while (Handle pipe = listener_.Accept())
    {
        JoinServed();
        AddClient(std::move(pipe));
    }
}

void BusServer::AddClient(Handle pipe)
{
    const auto client = std::make_shared<Client>();
    client->connection = std::make_shared<PipeConnection>(std::move(pipe));
    const std::scoped_lock lock(mutex_);
    client->thread = std::thread(
        [this, client, connection = client->connection]() mutable
        {
            Serve(*client, std::move(connection));
            EndServing(*client);
        });
    clients_.push_back(client);
}

void BusServer::Serve(Client& client, std::shared_ptr<PipeConnection> connection)
{
    while (const auto frame = connection->Receive())
    {
        Take(client, *frame);
    }
}

void BusServer::Take(Client& client, const Frame& frame)
{
    const CauseId id = NewCause();
    RecordReceived(frame, id);
    Note(client, frame);
    const CauseScope scope(id);
    if (frame.kind != FrameKind::Hello)
    {
        handler_(frame, client.late);
    }
}

void BusServer::Note(Client& client, const Frame& frame)
{
    const std::scoped_lock lock(mutex_);
    if (frame.kind == FrameKind::Hello)
    {
        client.id = frame.clientId;
        client.late = frame.late;
    }
    else if (frame.kind == FrameKind::Subscribe)
    {
        client.subscriptions.emplace(frame.moduleId, frame.messageId);
    }
    changed_.notify_all();
}

void BusServer::EndServing(Client& client)
{
    if (client.id)
    {
        Record("gone " + std::to_string(*client.id), FactsOf("client goes", *client.id));
    }
    const std::scoped_lock lock(mutex_);
    client.connection.reset();
    client.served = true;
    changed_.notify_all();
}

void BusServer::JoinServed()
{
    std::vector<std::shared_ptr<Client>> served;
    {
        const std::scoped_lock lock(mutex_);
        const auto rest = std::partition(clients_.begin(), clients_.end(), // a range of these is too much for clang 14
                                         [](const auto& client) { return !client->served; });
        served.assign(rest, clients_.end());
        clients_.erase(rest, clients_.end());
    }
    std::ranges::for_each(served, [](const auto& client) { client->thread.join(); });
}

} // namespace sim
