#include "native/src/Channel.h"

#include "native/src/KernelObject.h"

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace native
{

namespace
{

constexpr std::size_t mostBytes = 1024 * 1024; // on their way in one direction

/// What one end has to do with.
struct Side
{
    std::deque<char> arrived; // not read yet
    bool isOpen = true;
    std::shared_ptr<Signal> readable; // null until somebody watches, as the next
    std::shared_ptr<Signal> writable;

    void Wake() const
    {
        for (const auto& signal : {readable, writable})
        {
            if (signal)
            {
                signal->Set();
            }
        }
    }
};

/// A connection. Its lock comes before those of the events.
struct Stream
{
    std::mutex mutex;
    Side sides[2]; // guarded by mutex
};

/// One end of a connection, closed with its last handle.
class End final : public KernelObject
{
public:
    End(std::shared_ptr<Stream> stream, int side) : stream_(std::move(stream)), side_(side) {}
    ~End() override
    {
        const std::scoped_lock lock(stream_->mutex);
        Own().isOpen = false;
        Other().Wake();
    }

    void Watch(std::shared_ptr<Signal> readable, std::shared_ptr<Signal> writable)
    {
        const std::scoped_lock lock(stream_->mutex);
        Own().readable = std::move(readable);
        Own().writable = std::move(writable);
        Own().Wake();
    }

    std::optional<std::size_t> Read(char* bytes, std::size_t size)
    {
        const std::scoped_lock lock(stream_->mutex);
        std::deque<char>& arrived = Own().arrived;
        if (arrived.empty() && !Other().isOpen)
        {
            return std::nullopt;
        }
        const auto count = static_cast<std::ptrdiff_t>(std::min(size, arrived.size()));
        std::copy_n(arrived.begin(), count, bytes);
        arrived.erase(arrived.begin(), arrived.begin() + count);
        Other().Wake();
        return static_cast<std::size_t>(count);
    }

    std::optional<std::size_t> Write(const char* bytes, std::size_t size)
    {
        const std::scoped_lock lock(stream_->mutex);
        if (!Other().isOpen)
        {
            return std::nullopt;
        }
        std::deque<char>& arrived = Other().arrived;
        const std::size_t count = std::min(size, mostBytes - arrived.size());
        arrived.insert(arrived.end(), bytes, bytes + count);
        Other().Wake();
        return count;
    }

private:
    Side& Own() { return stream_->sides[side_]; }
    Side& Other() { return stream_->sides[1 - side_]; }

    const std::shared_ptr<Stream> stream_;
    const int side_;
};

/// Clients that nobody has taken yet. It listens as long as there is a handle of it: a client that is just connecting
/// holds it too, and must not keep the path from the next listener.
class Listener final : public KernelObject
{
public:
    explicit Listener(std::shared_ptr<Signal> clientCame) : clientCame_(std::move(clientCame)) {}

    bool IsListening() const
    {
        const std::scoped_lock lock(mutex_);
        return isListening_;
    }

    /// Null when it does not listen any more.
    std::shared_ptr<End> Connect()
    {
        const auto stream = std::make_shared<Stream>();
        const std::scoped_lock lock(mutex_);
        if (!isListening_)
        {
            return nullptr;
        }
        waiting_.push_back(std::make_shared<End>(stream, 0));
        clientCame_->Set();
        return std::make_shared<End>(stream, 1);
    }

    std::shared_ptr<End> Take()
    {
        const std::scoped_lock lock(mutex_);
        if (waiting_.empty())
        {
            return nullptr;
        }
        const std::shared_ptr<End> first = std::move(waiting_.front());
        waiting_.pop_front();
        return first;
    }

protected:
    void LastHandleClosed() override
    {
        const std::scoped_lock lock(mutex_);
        isListening_ = false;
        waiting_.clear();
    }

private:
    const std::shared_ptr<Signal> clientCame_;
    mutable std::mutex mutex_; // guards the fields below
    bool isListening_ = true;
    std::deque<std::shared_ptr<End>> waiting_;
};

/// Who listens where. Never destroyed: threads may still try to connect while the process ends.
struct Paths
{
    std::mutex mutex;
    std::map<std::wstring, std::weak_ptr<Listener>> listeners; // guarded by mutex
};

Paths& ThePaths()
{
    static auto* const paths = new Paths();
    return *paths;
}

} // namespace

HANDLE OpenListener(const std::wstring& path, HANDLE clientCame)
{
    Paths& paths = ThePaths();
    const std::scoped_lock lock(paths.mutex);
    std::weak_ptr<Listener>& known = paths.listeners[path];
    if (const auto earlier = known.lock(); earlier && earlier->IsListening())
    {
        return nullptr;
    }
    const auto listener = std::make_shared<Listener>(ObjectOf<Signal>(clientCame));
    known = listener;
    return MakeHandle(listener);
}

HANDLE TakeClient(HANDLE listener)
{
    std::shared_ptr<End> end = ObjectOf<Listener>(listener)->Take();
    return end ? MakeHandle(std::move(end)) : nullptr;
}

HANDLE ConnectTo(const std::wstring& path)
{
    std::shared_ptr<Listener> listener;
    {
        Paths& paths = ThePaths();
        const std::scoped_lock lock(paths.mutex);
        const auto known = paths.listeners.find(path);
        listener = known == paths.listeners.end() ? nullptr : known->second.lock();
    }
    std::shared_ptr<End> end = listener ? listener->Connect() : nullptr;
    return end ? MakeHandle(std::move(end)) : nullptr;
}

void WatchEnd(HANDLE end, HANDLE readable, HANDLE writable)
{
    ObjectOf<End>(end)->Watch(ObjectOf<Signal>(readable), ObjectOf<Signal>(writable));
}

std::optional<std::size_t> TryRead(HANDLE end, char* bytes, std::size_t size)
{
    return ObjectOf<End>(end)->Read(bytes, size);
}

std::optional<std::size_t> TryWrite(HANDLE end, const char* bytes, std::size_t size)
{
    return ObjectOf<End>(end)->Write(bytes, size);
}

} // namespace native

BOOL WriteFile(HANDLE file, const void* bytes, DWORD size, PDWORD, OVERLAPPED*)
{
    return native::TryWrite(file, static_cast<const char*>(bytes), size) == size ? TRUE : FALSE;
}
