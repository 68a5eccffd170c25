// What keeps code mapped that nothing takes back: the module, and the server of the enumerator that it registered with.
#include "tests/contract/ContractTest.h"
#include "tests/support/ImportPatch.h"

#include <windows.h>

#include <string>
#include <type_traits>
#include <vector>

namespace test
{

namespace
{

using testing::ElementsAre;

// Which modules are pinned, in order.
std::vector<std::string> pins;
decltype(&GetModuleHandleExW) originalGet = nullptr;

std::string NameOf(HMODULE module)
{
    return module == GetModuleHandleW(L"HeadsetAdapterPlugin.dll") ? "the plug-in"
           : module == GetModuleHandleW(L"SimAudio.dll")           ? "the audio service"
                                                                   : "another";
}

BOOL WINAPI NotePin(DWORD flags, LPCWSTR address, HMODULE* module)
{
    const BOOL result = originalGet(flags, address, module);
    if ((flags & GET_MODULE_HANDLE_EX_FLAG_PIN) != 0)
    {
        pins.push_back(NameOf(*module));
    }
    return result;
}

class Pinning : public ContractTest
{
protected:
    Pinning()
    {
        pins.clear();
        originalGet = patch_.Original<std::remove_pointer_t<decltype(originalGet)>>();
    }

private:
    ImportPatch patch_{module.Handle(), "KERNEL32.dll", "GetModuleHandleExW", &NotePin};
};

TEST_F(Pinning, TheWorkerAndTheNotificationsEachPinWhatTheyNeed)
{
    StartService();
    StartPlugin();
    // For the worker; for the notifications, and the server that sends them.
    EXPECT_THAT(pins, ElementsAre("the plug-in", "the plug-in", "the audio service"));
}

TEST_F(Pinning, TheWorkerPinsTheModuleWithoutNotificationsToo)
{
    sim::FaultPlan::Instance().FailAll("CoCreateInstance", static_cast<HRESULT>(0x80004005));
    StartService();
    StartPlugin();
    EXPECT_THAT(pins, ElementsAre("the plug-in"));
}

TEST_F(Pinning, AnotherStartPinsForItsWorkerAlone)
{
    StartService();
    StartPlugin();
    pins.clear();
    InitAgain();
    EXPECT_THAT(pins, ElementsAre("the plug-in"));
}

} // namespace

} // namespace test
