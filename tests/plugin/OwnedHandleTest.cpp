// Who closes a handle, and when.
#include "plugin/OwnedHandle.h"
#include "tests/support/ImportPatch.h"

#include <gmock/gmock.h>

#include <type_traits>
#include <utility>
#include <vector>

namespace test
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

// The handles that are closed, by the test program's own code.
std::vector<HANDLE> closed;
decltype(&CloseHandle) originalClose = nullptr;

BOOL WINAPI NoteClose(HANDLE handle)
{
    closed.push_back(handle);
    return originalClose(handle);
}

class OwnedHandleTest : public testing::Test
{
protected:
    OwnedHandleTest()
    {
        originalClose = close.Original<std::remove_pointer_t<decltype(originalClose)>>();
        closed.clear();
    }

    ImportPatch close{nullptr, "KERNEL32.dll", "CloseHandle", &NoteClose};
};

TEST_F(OwnedHandleTest, NothingIsNeverClosed)
{
    {
        OwnedHandle none;
        EXPECT_FALSE(none);
        EXPECT_EQ(none.Get(), nullptr);
        none.Reset();
        EXPECT_FALSE(none.Duplicate());
    }
    EXPECT_THAT(closed, IsEmpty());
}

TEST_F(OwnedHandleTest, AHandleIsClosedOnceAtItsEnd)
{
    HANDLE handle = nullptr;
    {
        const OwnedHandle event = OwnedHandle::AutoResetEvent();
        handle = event.Get();
        ASSERT_TRUE(event);
        EXPECT_THAT(closed, IsEmpty());
    }
    EXPECT_THAT(closed, ElementsAre(handle));
}

TEST_F(OwnedHandleTest, ResetClosesAtOnceAndOnlyOnce)
{
    OwnedHandle event = OwnedHandle::AutoResetEvent();
    HANDLE const handle = event.Get();
    event.Reset();
    EXPECT_FALSE(event);
    event.Reset();
    EXPECT_THAT(closed, ElementsAre(handle));
}

TEST_F(OwnedHandleTest, AMoveHandsTheHandleOn)
{
    OwnedHandle from = OwnedHandle::AutoResetEvent();
    HANDLE const handle = from.Get();
    const OwnedHandle to(std::move(from));
    EXPECT_EQ(to.Get(), handle);
    EXPECT_EQ(from.Get(), nullptr); // what a move leaves is none
    EXPECT_THAT(closed, IsEmpty());
}

TEST_F(OwnedHandleTest, AMoveAssignmentClosesWhatWasThere)
{
    OwnedHandle from = OwnedHandle::AutoResetEvent();
    OwnedHandle to = OwnedHandle::AutoResetEvent();
    HANDLE const moved = from.Get();
    HANDLE const replaced = to.Get();
    to = std::move(from);
    EXPECT_EQ(to.Get(), moved);
    EXPECT_EQ(from.Get(), nullptr);
    EXPECT_THAT(closed, ElementsAre(replaced));
}

TEST_F(OwnedHandleTest, AMoveToItselfChangesNothing)
{
    OwnedHandle event = OwnedHandle::AutoResetEvent();
    HANDLE const handle = event.Get();
    OwnedHandle& same = event;
    event = std::move(same);
    EXPECT_EQ(event.Get(), handle);
    EXPECT_THAT(closed, IsEmpty());
}

TEST_F(OwnedHandleTest, AnEventIsAutoResetAndNotSignalled)
{
    const OwnedHandle event = OwnedHandle::AutoResetEvent();
    EXPECT_EQ(WaitForSingleObject(event.Get(), 0), 258U);
    SetEvent(event.Get());
    EXPECT_EQ(WaitForSingleObject(event.Get(), 0), 0U);
    EXPECT_EQ(WaitForSingleObject(event.Get(), 0), 258U);
}

TEST_F(OwnedHandleTest, ADuplicateIsAnotherHandleOfTheSameObject)
{
    OwnedHandle event = OwnedHandle::AutoResetEvent();
    const OwnedHandle copy = event.Duplicate();
    ASSERT_TRUE(copy);
    EXPECT_NE(copy.Get(), event.Get());
    SetEvent(event.Get());
    event.Reset();
    EXPECT_EQ(WaitForSingleObject(copy.Get(), 0), 0U);
}

BOOL WINAPI NoCopy(HANDLE, HANDLE, HANDLE, LPHANDLE, DWORD, BOOL, DWORD)
{
    return FALSE;
}

HANDLE WINAPI NoEvent(LPSECURITY_ATTRIBUTES, BOOL, BOOL, LPCWSTR)
{
    return nullptr;
}

TEST_F(OwnedHandleTest, WhatCannotBeMadeIsNone)
{
    const OwnedHandle event = OwnedHandle::AutoResetEvent();
    const ImportPatch noCopy(nullptr, "KERNEL32.dll", "DuplicateHandle", &NoCopy);
    const ImportPatch noEvent(nullptr, "KERNEL32.dll", "CreateEventW", &NoEvent);
    EXPECT_FALSE(event.Duplicate());
    EXPECT_FALSE(OwnedHandle::AutoResetEvent());
}

} // namespace

} // namespace test
