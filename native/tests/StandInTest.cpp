// The stand-in for the platform, where the module's tests rely on it without telling.
#include "native/src/Channel.h"
#include "native/src/KernelObject.h"
#include "simulator/audio/DeviceTree.h"

#include <gtest/gtest.h>

#include <objbase.h>
#include <setupapi.h>

#include <optional>
#include <string>
#include <thread>

namespace test
{

namespace
{

using namespace std::string_literals;

TEST(StandIn, AnAutomaticEventLetsOneWaitThrough)
{
    const HANDLE event = CreateEventW(nullptr, FALSE, TRUE, nullptr);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
    EXPECT_TRUE(SetEvent(event));
    EXPECT_TRUE(ResetEvent(event));
    EXPECT_EQ(WaitForSingleObject(event, 10), WAIT_TIMEOUT);
    EXPECT_TRUE(CloseHandle(event));
}

TEST(StandIn, AManualEventStaysSetUntilItIsReset)
{
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread([&] { SetEvent(event); }).join();
    EXPECT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
    CloseHandle(event);
}

TEST(StandIn, NoHandleIsRefused)
{
    EXPECT_EQ(WaitForSingleObject(nullptr, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_FALSE(SetEvent(nullptr));
    EXPECT_FALSE(CloseHandle(nullptr));
}

TEST(StandIn, ALockHasManyReadersOrOneOwner)
{
    SRWLOCK lock = SRWLOCK_INIT;
    AcquireSRWLockShared(&lock);
    AcquireSRWLockShared(&lock); // does not wait for the first
    int readers = 2;
    std::thread owner(
        [&]
        {
            AcquireSRWLockExclusive(&lock);
            EXPECT_EQ(readers, 0);
            readers = 1;
            ReleaseSRWLockExclusive(&lock);
        });
    --readers;
    ReleaseSRWLockShared(&lock);
    std::this_thread::yield(); // one of the two is left: it still keeps the owner out
    --readers;
    ReleaseSRWLockShared(&lock);
    owner.join();
    AcquireSRWLockShared(&lock);
    EXPECT_EQ(readers, 1);
    ReleaseSRWLockShared(&lock);
}

TEST(StandIn, ApartmentsAreCountedForEachThread)
{
    void* object = this;
    EXPECT_EQ(CoCreateInstance(GUID{}, nullptr, CLSCTX_ALL, __uuidof(IUnknown), &object), CO_E_NOTINITIALIZED);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(CoInitialize(nullptr), S_OK);
    EXPECT_EQ(CoInitialize(nullptr), S_FALSE);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
    EXPECT_EQ(CoCreateInstance(GUID{}, nullptr, CLSCTX_ALL, __uuidof(IUnknown), &object), REGDB_E_CLASSNOTREG);
    std::thread(
        [&]
        { EXPECT_EQ(CoCreateInstance(GUID{}, nullptr, CLSCTX_ALL, __uuidof(IUnknown), &object), CO_E_NOTINITIALIZED); })
        .join();
    CoUninitialize();
    CoUninitialize();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    CoUninitialize();
}

TEST(StandIn, ConvertsUtf8)
{
    const std::wstring wide = L"a\u00E9\u20AC\U0001F3A7";
    const std::string narrow = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8E\xA7";
    std::string out(16, '.');
    out.resize(static_cast<std::size_t>(
        WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), out.data(), 16, nullptr, nullptr)));
    EXPECT_EQ(out, narrow);
    std::wstring back(16, L'.');
    back.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_UTF8, 0, narrow.data(), static_cast<int>(narrow.size()), back.data(), 16)));
    EXPECT_EQ(back, wide);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, narrow.data(), 2, nullptr, 0), 2); // the end of a character is missing
}

TEST(StandIn, TellsWhatABufferHasNoRoomFor)
{
    char out[2];
    EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, L"abc", 3, out, 2, nullptr, nullptr), 0);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, L"abc", -1, nullptr, 0, nullptr, nullptr), 4);
}

TEST(StandIn, AChannelCarriesBytesBothWaysAndTellsItsEnd)
{
    const HANDLE came = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE listener = native::OpenListener(L"stand-in-test", came);
    ASSERT_NE(listener, nullptr);
    EXPECT_EQ(native::OpenListener(L"stand-in-test", came), nullptr);
    const HANDLE client = native::ConnectTo(L"stand-in-test");
    EXPECT_EQ(WaitForSingleObject(came, 0), WAIT_OBJECT_0);
    const HANDLE server = native::TakeClient(listener);
    EXPECT_EQ(native::TakeClient(listener), nullptr);
    char bytes[8];
    EXPECT_EQ(native::TryRead(server, bytes, 8), 0U);
    EXPECT_EQ(native::TryWrite(client, "hello", 5), 5U);
    EXPECT_EQ(native::TryRead(server, bytes, 2), 2U);
    CloseHandle(client);
    EXPECT_EQ(native::TryRead(server, bytes, 8), 3U);
    EXPECT_EQ(native::TryRead(server, bytes, 8), std::nullopt);
    EXPECT_EQ(native::TryWrite(server, "x", 1), std::nullopt);
    CloseHandle(server);
    CloseHandle(listener);
    EXPECT_EQ(native::ConnectTo(L"stand-in-test"), nullptr);
    CloseHandle(came);
}

TEST(StandIn, APathIsFreeOnceItsListenerIsClosedWhoeverIsJustConnecting)
{
    const HANDLE came = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE listener = native::OpenListener(L"stand-in-closed", came);
    const HANDLE client = native::ConnectTo(L"stand-in-closed");
    const auto held = native::ObjectOf(listener); // as by a thread that is just connecting
    CloseHandle(listener);
    EXPECT_EQ(native::TryWrite(client, "x", 1), std::nullopt);
    EXPECT_EQ(native::ConnectTo(L"stand-in-closed"), nullptr);
    const HANDLE next = native::OpenListener(L"stand-in-closed", came);
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(native::OpenListener(L"stand-in-closed", came), nullptr);
    CloseHandle(next);
    CloseHandle(client);
    CloseHandle(came);
}

TEST(StandIn, AListenerListensUntilTheLastOfItsHandlesIsClosed)
{
    const HANDLE came = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE listener = native::OpenListener(L"stand-in-twice", came);
    HANDLE copy = nullptr;
    ASSERT_TRUE(DuplicateHandle(GetCurrentProcess(), listener, GetCurrentProcess(), &copy, 0, FALSE, 0));
    CloseHandle(listener);
    EXPECT_EQ(native::OpenListener(L"stand-in-twice", came), nullptr);
    CloseHandle(copy);
    const HANDLE next = native::OpenListener(L"stand-in-twice", came);
    EXPECT_NE(next, nullptr);
    CloseHandle(next);
    CloseHandle(came);
}

TEST(StandIn, AFullChannelTakesNoMore)
{
    const HANDLE came = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE listener = native::OpenListener(L"stand-in-full", came);
    const HANDLE client = native::ConnectTo(L"stand-in-full");
    const std::string much(2'000'000, 'x');
    EXPECT_EQ(native::TryWrite(client, much.data(), much.size()), 1024U * 1024);
    EXPECT_EQ(native::TryWrite(client, much.data(), much.size()), 0U);
    CloseHandle(listener);
    EXPECT_EQ(native::TryWrite(client, much.data(), 1), std::nullopt); // the client was never taken
    CloseHandle(client);
    CloseHandle(came);
}

TEST(StandIn, ASetOfNodesIsWhatTheTreeWas)
{
    const GUID setupClass = {1, 2, 3, {4}};
    EXPECT_TRUE(sim::DeviceTree::Add({.instanceId = L"B", .setupClass = setupClass}));
    EXPECT_FALSE(sim::DeviceTree::Add({.instanceId = L"B"}));
    EXPECT_TRUE(sim::DeviceTree::Add({.instanceId = L"C"}));
    const HDEVINFO set = SetupDiGetClassDevsW(&setupClass, nullptr, nullptr, DIGCF_PRESENT);
    EXPECT_TRUE(sim::DeviceTree::Remove(L"B"));
    SP_DEVINFO_DATA node{};
    node.cbSize = sizeof(node);
    EXPECT_TRUE(SetupDiEnumDeviceInfo(set, 0, &node));
    const DEVPROPKEY key{{}, 38};
    DEVPROPTYPE type = 0;
    EXPECT_FALSE(SetupDiGetDevicePropertyW(set, &node, &key, &type, nullptr, 0, nullptr, 0));
    EXPECT_EQ(GetLastError(), ERROR_NOT_FOUND);
    EXPECT_FALSE(SetupDiEnumDeviceInfo(set, 1, &node));
    EXPECT_EQ(GetLastError(), ERROR_NO_MORE_ITEMS);
    EXPECT_TRUE(SetupDiDestroyDeviceInfoList(set));
}

} // namespace

} // namespace test
