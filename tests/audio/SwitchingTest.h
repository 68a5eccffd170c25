#pragma once

#include "simulator/audio/AudioService.h"
#include "simulator/audio/EndpointOptions.h"
#include "tests/audio/ApartmentSpy.h"
#include "tests/audio/ApartmentThread.h"
#include "tests/audio/AudioTest.h"
#include "tests/audio/ComCreations.h"
#include "tests/audio/EarphoneTest.h"
#include "tests/audio/SleepSpy.h"
#include "tests/support/LogLines.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

namespace test
{

/// A computer with a speaker, which is the default, and one headset, on which nothing happens yet. The module knows them.
class SwitchingTest : public EarphoneTest
{
protected:
    SwitchingTest()
    {
        AddSpeaker();
        service.SetDefault("speaker");
    }

    /// Connects the headset with the given endpoints, and lets the module know.
    void HaveHeadset(const sim::HeadsetOptions& options = {.address = headsetAddress})
    {
        ConnectHeadset(options);
        Know();
    }

    void Know()
    {
        endpoints.Fill();
        faults.Clear();
        timeline.Clear();
    }

    /// Log lines, audio calls, reports to the host and what the test's spies tell, in one order.
    static std::vector<std::string> All() { return Story({"log3", "log4", "audio", "host", "test"}); }

    static std::vector<std::string> Audio() { return Story({"audio"}); }

    /// Lets the module's creations of objects give what a factory gives, failures with objects included.
    static ComCreations PassOnFactories()
    {
        return ComCreations([](REFCLSID classId, DWORD context, REFIID riid, void** object)
                            { return sim::CreateServiceObject(classId, nullptr, context, riid, object); });
    }

    /// The creations that `work` asks for, none of which succeeds.
    static std::vector<std::string> Creations(const std::function<void()>& work)
    {
        std::vector<std::string> creations;
        const ComCreations spy(
            [&](REFCLSID classId, DWORD context, REFIID riid, void**)
            {
                creations.push_back(GuidText(classId) + " " + std::to_string(context) + " " + GuidText(riid));
                return E_FAIL;
            });
        work();
        return creations;
    }

    /// Expects that neither endpoint lock is held at any call of the audio service that `work` makes.
    void ExpectNoLockAtAudioCalls(const std::function<void()>& work)
    {
        int looks = 0;
        AtAudioCall("",
                    [&]
                    {
                        ++looks;
                        EXPECT_TRUE(IsDefaultSetLockFree());
                        EXPECT_TRUE(IsEndpointLockFree());
                    });
        work();
        timeline.SetListener({});
        EXPECT_GT(looks, 1);
    }

    const std::string key = headsetKey;
};

/// The same on threads of each kind.
class SwitchingInApartmentTest : public SwitchingTest, public testing::WithParamInterface<ApartmentKind>
{
};

inline auto EachApartment()
{
    return testing::Values(ApartmentKind::None, ApartmentKind::SingleThreaded, ApartmentKind::Multithreaded);
}

} // namespace test
