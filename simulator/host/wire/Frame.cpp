#include "simulator/host/wire/Frame.h"

#include "simulator/host/wire/LittleEndian.h"

#include <cstddef>
#include <string_view>

namespace sim
{

namespace
{

constexpr std::uint32_t frameMark = 0x51A71C5E;
constexpr std::size_t headSize = 8 * 4;
constexpr std::uint32_t hasDataFlag = 1;
constexpr std::uint32_t lateFlag = 2;
constexpr unsigned causeShift = 2; // above the flags

struct Head
{
    std::uint32_t mark;
    std::uint32_t kind;
    std::uint32_t clientId;
    std::uint32_t moduleId;
    std::uint32_t messageId;
    std::uint32_t dataLength;
    std::uint32_t flags;
    std::uint32_t payloadSize;

    bool IsValid() const
    {
        return mark == frameMark && kind >= static_cast<std::uint32_t>(FrameKind::Hello) &&
               kind <= static_cast<std::uint32_t>(FrameKind::PublishUnasked) && payloadSize <= greatestPayload &&
               TellsNoMoreThanThereIs();
    }

    bool TellsNoMoreThanThereIs() const
    {
        return (flags & hasDataFlag) == 0 ||
               static_cast<std::int32_t>(dataLength) <= static_cast<std::int32_t>(payloadSize);
    }
};

Head LoadHead(std::string_view bytes)
{
    const auto field = [bytes](std::size_t index)
    {
        return LoadUint32(bytes.substr(index * 4));
    };
    return {field(0), field(1), field(2), field(3), field(4), field(5), field(6), field(7)};
}

Frame MakeFrame(const Head& head, std::string_view payload)
{
    return {static_cast<FrameKind>(head.kind),
            static_cast<std::int32_t>(head.clientId),
            static_cast<std::int32_t>(head.moduleId),
            static_cast<std::int32_t>(head.messageId),
            static_cast<std::int32_t>(head.dataLength),
            (head.flags & hasDataFlag) != 0,
            (head.flags & lateFlag) != 0,
            std::string(payload),
            head.flags >> causeShift};
}

} // namespace

std::string EncodeFrame(const Frame& frame)
{
    std::string bytes;
    bytes.reserve(headSize + frame.payload.size());
    AppendUint32(bytes, frameMark);
    AppendUint32(bytes, static_cast<std::uint32_t>(frame.kind));
    AppendUint32(bytes, static_cast<std::uint32_t>(frame.clientId));
    AppendUint32(bytes, static_cast<std::uint32_t>(frame.moduleId));
    AppendUint32(bytes, static_cast<std::uint32_t>(frame.messageId));
    AppendUint32(bytes, static_cast<std::uint32_t>(frame.dataLength));
    AppendUint32(bytes, (frame.hasData ? hasDataFlag : 0) | (frame.late ? lateFlag : 0) | frame.cause << causeShift);
    AppendUint32(bytes, static_cast<std::uint32_t>(frame.payload.size()));
    return bytes + frame.payload;
}

void FrameParser::Feed(const char* bytes, std::size_t size)
{
    bytes_.append(bytes, size);
}

std::optional<Frame> FrameParser::Next()
{
    if (malformed_ || bytes_.size() < headSize)
    {
        return std::nullopt;
    }
    const Head head = LoadHead(bytes_);
    malformed_ = !head.IsValid();
    if (malformed_ || bytes_.size() - headSize < head.payloadSize)
    {
        return std::nullopt;
    }
    Frame frame = MakeFrame(head, std::string_view(bytes_).substr(headSize, head.payloadSize));
    bytes_.erase(0, headSize + head.payloadSize);
    return frame;
}

} // namespace sim
