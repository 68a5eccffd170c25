#include "tests/lockorder/LockWatch.h"

#include <pthread.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <ios>
#include <iterator>
#include <span>
#include <sstream>

namespace test
{

namespace
{

using Edge = std::pair<const void*, const void*>;

/// What the watched calls record. Guarded by a lock that the thread library knows nothing of: the calls come from inside
/// that library's own functions.
struct Record
{
    SRWLOCK guard = SRWLOCK_INIT;
    std::set<Edge> edges;
    std::map<const void*, const void*> firstTakers; // lock to code address
};

class Guard
{
public:
    explicit Guard(SRWLOCK& lock) : lock_(lock) { AcquireSRWLockExclusive(&lock_); }
    ~Guard() { ReleaseSRWLockExclusive(&lock_); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    SRWLOCK& lock_;
};

using MutexCall = int (*)(pthread_mutex_t*);

Record& TheRecord()
{
    static Record* const record = new Record();
    return *record;
}

/// Not through the program's own import, which may be the one that is watched.
MutexCall ThreadLibraryCall(const char* name)
{
    return reinterpret_cast<MutexCall>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"libwinpthread-1.dll"), name)));
}

const MutexCall realLock = ThreadLibraryCall("pthread_mutex_lock");
const MutexCall realUnlock = ThreadLibraryCall("pthread_mutex_unlock");

/// The locks that a thread holds, in the order in which it took them. Nothing to be destroyed: locks are taken even while a
/// thread's own objects are.
struct HeldLocks
{
    std::array<const void*, 64> locks;
    std::size_t count;

    std::span<const void* const> All() const { return {locks.data(), count}; }

    void Add(const void* lock)
    {
        if (count == locks.size())
        {
            std::abort(); // nobody nests that deep
        }
        locks[count++] = lock;
    }

    void RemoveLast(const void* lock)
    {
        const auto end = std::begin(locks) + count;
        const auto found = std::find(std::make_reverse_iterator(end), std::rend(locks), lock);
        if (found != std::rend(locks))
        {
            std::copy(found.base(), end, std::prev(found.base()));
            --count;
        }
    }
};
thread_local HeldLocks heldLocks; // zero at first

int WatchedLock(pthread_mutex_t* mutex)
{
    const void* const taker = __builtin_return_address(0);
    const int result = realLock(mutex);
    if (result == 0)
    {
        Record& record = TheRecord();
        const Guard guard(record.guard);
        record.firstTakers.try_emplace(mutex, taker);
        const auto held = heldLocks.All();
        if (std::find(held.begin(), held.end(), mutex) == held.end())
        {
            for (const void* const outer : held)
            {
                record.edges.emplace(outer, mutex);
            }
        }
        heldLocks.Add(mutex);
    }
    return result;
}

int WatchedUnlock(pthread_mutex_t* mutex)
{
    heldLocks.RemoveLast(mutex);
    return realUnlock(mutex);
}

/// A code address as an offset into its module, to be looked up with addr2line.
std::string Place(const void* address)
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<LPCWSTR>(address), &module);
    std::ostringstream text;
    text << "base+0x" << std::hex
         << reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(module);
    return text.str();
}

std::set<Edge> Edges()
{
    Record& record = TheRecord();
    const Guard guard(record.guard);
    return record.edges;
}

} // namespace

LockWatch::LockWatch(HMODULE module)
    : lock_(module, "libwinpthread-1.dll", "pthread_mutex_lock", &WatchedLock),
      unlock_(module, "libwinpthread-1.dll", "pthread_mutex_unlock", &WatchedUnlock)
{
}

void LockWatch::NameAddress(const void* lock, const std::string& name, int rank)
{
    names_[lock] = {name, rank};
}

std::string LockWatch::NameOf(const void* lock) const
{
    if (const auto named = names_.find(lock); named != names_.end())
    {
        return named->second.name;
    }
    Record& record = TheRecord();
    const Guard guard(record.guard);
    std::ostringstream text;
    text << "the one first taken at " << Place(record.firstTakers[lock]);
    return text.str();
}

std::vector<std::string> LockWatch::Violations() const
{
    std::vector<std::string> violations;
    for (const auto& [held, taken] : Edges())
    {
        const auto outer = names_.find(held);
        const auto inner = names_.find(taken);
        if (outer != names_.end() && inner != names_.end() && outer->second.rank >= inner->second.rank)
        {
            violations.push_back(outer->second.name + " -> " + inner->second.name);
        }
    }
    return violations;
}

std::vector<std::string> LockWatch::Circle() const
{
    std::set<const void*> done;
    for (const auto& [held, taken] : Edges())
    {
        std::vector<const void*> path;
        if (FindCircle(held, path, done))
        {
            std::vector<std::string> names;
            std::transform(path.begin(), path.end(), std::back_inserter(names),
                           [this](const void* lock) { return NameOf(lock); });
            return names;
        }
    }
    return {};
}

bool LockWatch::FindCircle(const void* lock, std::vector<const void*>& path, std::set<const void*>& done) const
{
    if (std::find(path.begin(), path.end(), lock) != path.end())
    {
        path.push_back(lock);
        return true;
    }
    if (!done.insert(lock).second)
    {
        return false;
    }
    path.push_back(lock);
    for (const auto& [held, taken] : Edges())
    {
        if (held == lock && FindCircle(taken, path, done))
        {
            return true;
        }
    }
    path.pop_back();
    return false;
}

std::size_t LockWatch::Pairs() const
{
    return Edges().size();
}

bool LockWatch::Saw(const std::string& held, const std::string& taken) const
{
    const std::set<Edge> edges = Edges();
    return std::any_of(edges.begin(), edges.end(),
                       [&](const Edge& edge) { return NameOf(edge.first) == held && NameOf(edge.second) == taken; });
}

void LockWatch::Clear()
{
    Record& record = TheRecord();
    const Guard guard(record.guard);
    record.edges.clear();
}

} // namespace test
