#pragma once

#include "tests/support/ImportPatch.h"

#include <windows.h>

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace test
{

/// Watches in which order one module takes its mutexes, through its imports of the thread library: while one is held,
/// which others are taken. At most one at a time; it lives until the process ends, since threads of the module may be
/// inside a watched call.
///
/// Any thread of the module is watched from its first lock on. The locks are known by their addresses; Name gives them
/// names for the report.
class LockWatch
{
public:
    /// Null watches the program itself.
    explicit LockWatch(HMODULE module);

    /// Names a mutex of the standard library; `rank` orders those that may be held together: one of a lower rank is
    /// taken first. Ones of the same rank are never held together, whichever comes first.
    template <typename Mutex> void Name(Mutex& mutex, const std::string& name, int rank)
    {
        NameAddress(static_cast<const void*>(mutex.native_handle()), name, rank);
    }

    /// Pairs "held -> taken" of named locks that break the ranks.
    std::vector<std::string> Violations() const;

    /// The locks of one circle, named or by the code address that took them first; empty when there is none.
    std::vector<std::string> Circle() const;

    /// How many pairs "held -> taken" there were, of whatever locks.
    std::size_t Pairs() const;

    /// Whether the second was taken while the first was held.
    bool Saw(const std::string& held, const std::string& taken) const;

    /// Forgets what was seen.
    void Clear();

    LockWatch(const LockWatch&) = delete;
    LockWatch& operator=(const LockWatch&) = delete;

private:
    struct Named
    {
        std::string name;
        int rank;
    };

    void NameAddress(const void* lock, const std::string& name, int rank);
    std::string NameOf(const void* lock) const;
    bool FindCircle(const void* lock, std::vector<const void*>& path, std::set<const void*>& done) const;

    std::map<const void*, Named> names_;
    ImportPatch lock_;
    ImportPatch unlock_;
};

} // namespace test
