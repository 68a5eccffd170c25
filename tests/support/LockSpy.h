#pragma once

#include "tests/support/ImportPatch.h"

#include <windows.h>

#include <map>
#include <string>

namespace test
{

/// Tells the timeline, as "test", when a thread of one module takes and gives back certain mutexes: "locks <name>" once it
/// has one, "unlocks <name>" before it gives it back. What a thread does with a mutex that it holds already is not told.
/// At most one object at a time.
class LockSpy
{
public:
    using Names = std::map<const void*, std::string>; // by address of the thread library's mutex

    /// `module` is null for the program itself.
    LockSpy(HMODULE module, Names names);
    ~LockSpy();

    /// For Names.
    template <typename Mutex> static const void* AddressOf(Mutex& mutex)
    {
        return static_cast<const void*>(mutex.native_handle());
    }

    LockSpy(const LockSpy&) = delete;
    LockSpy& operator=(const LockSpy&) = delete;

private:
    ImportPatch lock_;
    ImportPatch unlock_;
};

} // namespace test
