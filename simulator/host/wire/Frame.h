#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace sim
{

enum class FrameKind : std::uint32_t
{
    Hello = 1,          // client to service, once, first
    Subscribe = 2,      // client to service
    Post = 3,           // client to service
    Message = 4,        // service to client
    Publish = 5,        // service to client, for those that have subscribed
    PublishUnasked = 6, // service to client, whether it has subscribed or not
};

/// One unit of what goes over the bus. Which fields mean something depends on the kind; the others are 0.
struct Frame
{
    FrameKind kind;
    std::int32_t clientId = 0;
    std::int32_t moduleId = 0;
    std::int32_t messageId = 0;
    std::int32_t dataLength = 0; // length of the payload as it is told; with data, never more than its size
    bool hasData = false;        // whether the receiver gets a data pointer
    bool late = false;           // of a hello: the client was made before the service was there
    std::string payload;
    std::uint32_t cause = 0; // names the sender's entry for the receiver's, up to `greatestCause`; 0: none
};

/// Greatest payload, in bytes. A frame with a greater one is malformed.
inline constexpr std::uint32_t greatestPayload = 16 * 1024 * 1024;

std::string EncodeFrame(const Frame& frame);

/// Takes frames out of a stream of bytes. For one thread.
class FrameParser
{
public:
    void Feed(const char* bytes, std::size_t size);

    /// The next whole frame, if there is one.
    std::optional<Frame> Next();

    /// The stream holds something that is no frame; nothing comes out of it any more.
    bool IsMalformed() const { return malformed_; }

private:
    bool malformed_ = false;
    std::string bytes_; // not yet taken
};

} // namespace sim
