#include "tests/simulator/host/Inbox.h"

#include "ipc/TagIPCMessageItem.h"

#include <cstddef>

IPCMessageClient::MessageCallback Inbox::Callback()
{
    return [this](const TagIPCMessageItem& item)
    {
        const bool hasText = item.data != nullptr && item.dataLength > 0;
        const std::string text = hasText ? std::string(item.data, static_cast<std::size_t>(item.dataLength)) : "";
        const std::scoped_lock lock(mutex_);
        all_.push_back(
            {item.moduleId, item.messageId, item.dataLength, item.data != nullptr, text, std::this_thread::get_id()});
        added_.notify_all();
    };
}

bool Inbox::WaitForCount(std::size_t count)
{
    std::unique_lock lock(mutex_);
    return added_.wait_for(lock, patience, [&] { return all_.size() >= count; });
}

std::vector<Received> Inbox::All() const
{
    const std::scoped_lock lock(mutex_);
    return all_;
}

std::vector<std::string> Inbox::Texts() const
{
    std::vector<std::string> texts;
    for (const Received& received : All())
    {
        texts.push_back(received.text);
    }
    return texts;
}

std::vector<std::int32_t> Inbox::MessageIds() const
{
    std::vector<std::int32_t> ids;
    for (const Received& received : All())
    {
        ids.push_back(received.messageId);
    }
    return ids;
}

void Gate::Open()
{
    const std::scoped_lock lock(mutex_);
    open_ = true;
    opened_.notify_all();
}

bool Gate::Wait()
{
    std::unique_lock lock(mutex_);
    return opened_.wait_for(lock, patience, [this] { return open_; });
}
