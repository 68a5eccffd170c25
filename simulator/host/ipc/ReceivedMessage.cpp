#include "simulator/host/ipc/ReceivedMessage.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace sim
{

namespace
{

/// In the fields that are the library's own: a module that reads them sees that it reads the wrong ones.
constexpr std::int32_t libraryValue = 0x5A5A5A5A;

/// The stores are volatile because the compiler drops others, the memory being freed right afterwards.
template <typename Value> void Spoil(Value* object, std::size_t count)
{
    volatile char* const bytes = reinterpret_cast<volatile char*>(object);
    for (std::size_t index = 0; index < count * sizeof(Value); ++index)
    {
        bytes[index] = static_cast<char>(0xDD);
    }
}

} // namespace

ReceivedMessage::ReceivedMessage(const Frame& frame)
    : payloadSize_(frame.hasData ? frame.payload.size() : 0),
      payload_(frame.hasData ? std::make_unique<char[]>(payloadSize_) : nullptr),
      item_(std::make_unique<TagIPCMessageItem>())
{
    std::ranges::fill(item_->libraryHeader, libraryValue);
    std::ranges::fill(item_->libraryRouting, libraryValue);
    item_->libraryFlags = libraryValue;
    item_->moduleId = frame.moduleId;
    item_->messageId = frame.messageId;
    item_->dataLength = frame.dataLength;
    item_->data = payload_.get();
    std::copy_n(frame.payload.data(), payloadSize_, payload_.get());
}

ReceivedMessage::~ReceivedMessage()
{
    Spoil(payload_.get(), payloadSize_);
    Spoil(item_.get(), 1);
}

} // namespace sim
