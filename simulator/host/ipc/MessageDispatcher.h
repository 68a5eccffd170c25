#pragma once

#include "ipc/IPCMessageClient.h"
#include "simulator/host/wire/Frame.h"
#include "simulator/timeline/Cause.h"
#include "simulator/timeline/Timeline.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace sim
{

/// Runs the callbacks of one IPC client, one after another, on the client's callback thread.
///
/// Owned by the client and, while it runs, by the callback thread: a callback may release the client, and the thread
/// ends by itself after that. Every operation may be called from any thread. Callbacks run and are destroyed with
/// no lock held.
class MessageDispatcher
{
public:
    using Callback = IPCMessageClient::MessageCallback;

    /// A dispatcher with its thread running.
    static std::shared_ptr<MessageDispatcher> Start(std::int32_t clientId);

    explicit MessageDispatcher(std::int32_t clientId);

    void SetMessageCallback(std::int32_t messageId, Callback callback);
    void SetPublishCallback(Callback callback);

    /// Drops all callbacks. Returns false when there was none.
    bool DropCallbacks();

    /// Queues a message or publication for its callback.
    void Push(Frame frame);

    /// No callback begins from here on.
    void Stop();

    /// Stops, and waits for a callback that is running, except on the callback thread itself.
    void Close();

    MessageDispatcher(const MessageDispatcher&) = delete;
    MessageDispatcher& operator=(const MessageDispatcher&) = delete;

private:
    using SharedCallback = std::shared_ptr<const Callback>;

    struct Delivery
    {
        Frame frame;
        SharedCallback callback;
        CauseId id = 0; // names the delivery
    };

    void Run();
    std::optional<Delivery> WaitForDelivery();
    void Deliver(const Delivery& delivery) const;
    SharedCallback FindLocked(const Frame& frame) const;
    void Record(const char* what, std::int32_t messageId, EntryFacts facts) const;

    const std::int32_t clientId_;
    std::thread thread_; // set before any callback can run; left alone until `Close`

    std::mutex mutex_; // guards the fields below
    std::condition_variable changed_;
    bool stopped_ = false;
    std::deque<Frame> queue_;
    std::map<std::int32_t, SharedCallback> messageCallbacks_;
    SharedCallback publishCallback_;
};

} // namespace sim
