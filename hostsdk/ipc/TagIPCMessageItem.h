#pragma once

#include <cstddef>
#include <cstdint>

/// One received message. The IPC library passes it by reference to every callback; it and the payload behind `data`
/// belong to the library and are valid during the callback only.
struct TagIPCMessageItem
{
    std::int32_t libraryHeader[9]; // the library's own
    std::int32_t moduleId;         // module that sent the message
    std::int32_t messageId;
    std::int32_t libraryRouting[3]; // the library's own
    std::int32_t dataLength;        // payload bytes; less than 1 means that there is no payload
    std::int32_t libraryFlags;      // the library's own
    char* data;                     // payload; null means that there is no payload
};

// The library's layout; the module is built apart from it, so the offsets are binding.
static_assert(offsetof(TagIPCMessageItem, moduleId) == 36);
static_assert(offsetof(TagIPCMessageItem, messageId) == 40);
static_assert(offsetof(TagIPCMessageItem, dataLength) == 56);
static_assert(offsetof(TagIPCMessageItem, data) == 64);
static_assert(sizeof(TagIPCMessageItem) == 72);
