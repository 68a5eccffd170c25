#include "ipc/QvIpcPackage.h"

#include "simulator/host/wire/LittleEndian.h"
#include "simulator/host/wire/Package.h"
#include "simulator/timeline/FaultPlan.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

namespace
{

constexpr std::int32_t failed = -1;
constexpr std::size_t longestString = std::numeric_limits<std::int32_t>::max() - sim::itemHeadSize;

std::int32_t WriteItem(IOChannel* channel, const sim::PackageItem& item)
{
    const std::string bytes = sim::EncodeItem(item);
    return channel->Write(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

/// What follows a malformed item has no meaning: nothing of it may be taken for an item.
void DropRest(IOChannel& channel)
{
    std::array<char, 256> dropped{};
    while (channel.Remaining() > 0)
    {
        const auto size = std::min(channel.Remaining(), static_cast<std::uint32_t>(dropped.size()));
        if (channel.Read(dropped.data(), size) < 0)
        {
            return;
        }
    }
}

/// The value or length behind an item's tag; none when the item has another tag or is not whole.
std::optional<std::uint32_t> ReadHead(IOChannel& channel, unsigned char tag)
{
    std::array<char, sim::itemHeadSize> head{};
    if (channel.Read(head.data(), sim::itemHeadSize) < 0 || static_cast<unsigned char>(head.front()) != tag)
    {
        return std::nullopt;
    }
    return sim::LoadUint32(std::string_view(head.data(), head.size()).substr(1));
}

std::optional<std::string> ReadString(IOChannel& channel)
{
    const auto length = ReadHead(channel, sim::stringTag);
    if (!length || *length > channel.Remaining() || *length > longestString)
    {
        return std::nullopt;
    }
    std::string text(*length, '\0');
    return channel.Read(text.data(), *length) < 0 ? std::nullopt : std::optional(std::move(text));
}

} // namespace

QvIpcPackage::QvIpcPackage(IOChannel* channel) : channel_(channel) {}

std::int32_t QvIpcPackage::PacketString(const std::string& text)
{
    if (const auto fault = sim::FaultPlan::Instance().Enter("QvIpcPackage::PacketString"))
    {
        return *fault;
    }
    return channel_ == nullptr || text.size() > longestString ? failed : WriteItem(channel_, text);
}

std::int32_t QvIpcPackage::PacketInt(std::int32_t value)
{
    return channel_ == nullptr ? failed : WriteItem(channel_, value);
}

std::int32_t QvIpcPackage::UnpacketString(std::string& text)
{
    if (channel_ == nullptr)
    {
        return failed;
    }
    auto taken = ReadString(*channel_);
    if (!taken)
    {
        DropRest(*channel_);
        return failed;
    }
    text = std::move(*taken);
    return static_cast<std::int32_t>(sim::itemHeadSize + text.size());
}

std::int32_t QvIpcPackage::UnpacketInt(std::int32_t& value)
{
    if (channel_ == nullptr)
    {
        return failed;
    }
    const auto taken = ReadHead(*channel_, sim::integerTag);
    if (!taken)
    {
        DropRest(*channel_);
        return failed;
    }
    value = static_cast<std::int32_t>(*taken);
    return static_cast<std::int32_t>(sim::itemHeadSize);
}
