#pragma once

#include "ipc/TagIPCMessageItem.h"
#include "simulator/host/wire/Frame.h"

#include <cstddef>
#include <memory>

namespace sim
{

/// A message as a callback gets to see it. Both the record and the payload are spoiled before they are freed, so that
/// whoever keeps a pointer to them reads nonsense. For one thread.
class ReceivedMessage
{
public:
    explicit ReceivedMessage(const Frame& frame);
    ~ReceivedMessage();

    const TagIPCMessageItem& Item() const { return *item_; }

    ReceivedMessage(const ReceivedMessage&) = delete;
    ReceivedMessage& operator=(const ReceivedMessage&) = delete;

private:
    std::size_t payloadSize_;
    std::unique_ptr<char[]> payload_; // exactly as great as the payload; null when the item's data is
    std::unique_ptr<TagIPCMessageItem> item_;
};

} // namespace sim
