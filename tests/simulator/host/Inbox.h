#pragma once

#include "ipc/IPCMessageClient.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// What a callback saw of one message.
struct Received
{
    std::int32_t moduleId;
    std::int32_t messageId;
    std::int32_t dataLength;
    bool hasData;
    std::string text; // the payload, when there is one
    std::thread::id thread;
};

/// Collects what callbacks get. Any thread may use it.
class Inbox
{
public:
    /// A callback that puts its messages in here; the inbox must outlive it.
    IPCMessageClient::MessageCallback Callback();

    bool WaitForCount(std::size_t count);
    std::vector<Received> All() const;
    std::vector<std::string> Texts() const;
    std::vector<std::int32_t> MessageIds() const;

private:
    mutable std::mutex mutex_; // guards the fields below
    std::condition_variable added_;
    std::vector<Received> all_;
};

/// A gate that is opened once.
class Gate
{
public:
    void Open();

    /// Returns false when it stays shut for too long.
    bool Wait();

private:
    std::mutex mutex_; // guards the field below
    std::condition_variable opened_;
    bool open_ = false;
};

/// How long tests wait for what has to happen.
inline constexpr std::chrono::seconds patience(20);
