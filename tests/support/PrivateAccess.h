#pragma once

namespace test
{

// Access checks do not apply to the arguments of an explicit instantiation: that is where a private member can be named
// without a change of its class.
template <typename Tag, auto member> struct Expose
{
    friend auto MemberOf(Tag) { return member; }
};

} // namespace test

/// Makes a private member reachable for tests; at global scope: `EXPOSE_PRIVATE(LoopRun, &TaskLoop::Run);` lets
/// `MemberOf(test::LoopRun{})` be the pointer to it: `(loop.*MemberOf(test::LoopRun{}))()`. For a static one it is a
/// plain pointer.
#define EXPOSE_PRIVATE(Tag, ...)                                                                                       \
    namespace test                                                                                                     \
    {                                                                                                                  \
    struct Tag                                                                                                         \
    {                                                                                                                  \
        friend auto MemberOf(Tag);                                                                                     \
    };                                                                                                                 \
    template struct Expose<Tag, __VA_ARGS__>;                                                                          \
    }                                                                                                                  \
    static_assert(true)
