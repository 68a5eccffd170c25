// Every call of the audio service that an enable makes fails once, one after another.
#include "tests/contract/ContractTest.h"

#include <windows.h>

#include <mmdeviceapi.h>

#include <cstdint>
#include <string>

namespace test
{

namespace
{

/// The module is started once. Each run begins and ends with the speaker as the default and nothing planned to fail.
class FailingCalls : public ContractTest
{
protected:
    FailingCalls() : ContractTest(Waits()) {}

    static WatchedWaits::Lengths Waits()
    {
        auto lengths = ShortWaits();
        lengths[10000] = 30; // what is not confirmed is given up
        return lengths;
    }

    void BackToTheSpeaker() const
    {
        sim::FaultPlan::Instance().Clear();
        for (const std::string& label : Audio().Labels())
        {
            Audio().SetVisible(label, true);
        }
        Audio().SetDefault("speaker");
        Audio().NotifyDeviceStateChanged("speaker", DEVICE_STATE_ACTIVE); // the module looks anew in any case
        ASSERT_TRUE(WaitForIdle());
        ClearTimeline();
    }

    void CheckThatItWorks()
    {
        BackToTheSpeaker();
        Tell(Event::connected);
        ASSERT_TRUE(WaitForTasks());
        EXPECT_EQ(Handler().GetFeatureState(mac).state, 3);
    }

    /// One after another, each call whose name begins with `prefix` answers `result` in an enable of its own.
    void FailEachOf(const std::string& prefix, HRESULT result)
    {
        Start();
        AddHeadset();
        std::uint32_t failed = 0;
        for (std::uint32_t nth = 1;; ++nth)
        {
            SCOPED_TRACE(prefix + " " + std::to_string(nth));
            BackToTheSpeaker();
            sim::FaultPlan::Instance().FailNthOf(prefix, nth, result);
            Tell(Event::connected);
            ASSERT_TRUE(WaitForTasks());
            ExpectOnlyTheRegistrationHeld();
            ASSERT_FALSE(HasFailure());
            if (sim::FaultPlan::Instance().Calls(prefix) < nth)
            {
                break;
            }
            ++failed;
        }
        EXPECT_GE(failed, 2U);
        CheckThatItWorks();
    }
};

TEST_F(FailingCalls, Creations)
{
    FailEachOf("CoCreateInstance", E_OUTOFMEMORY);
}

TEST_F(FailingCalls, CallsOfPolicyObjects)
{
    FailEachOf("IPolicyConfig", E_ACCESSDENIED);
}

TEST_F(FailingCalls, CallsOfTheEnumerator)
{
    FailEachOf("IMMDeviceEnumerator", E_FAIL);
}

TEST_F(FailingCalls, CallsOfCollections)
{
    FailEachOf("IMMDeviceCollection", E_FAIL);
}

TEST_F(FailingCalls, CallsOfDevices)
{
    FailEachOf("IMMDevice::", static_cast<HRESULT>(0x88890004));
}

TEST_F(FailingCalls, CallsOfEndpoints)
{
    FailEachOf("IMMEndpoint", static_cast<HRESULT>(0x88890004));
}

TEST_F(FailingCalls, CallsOfPropertyStores)
{
    FailEachOf("IPropertyStore", static_cast<HRESULT>(0x88890004));
}

TEST_F(FailingCalls, SuccessesThatDoNothing)
{
    FailEachOf("IMMDevice", S_OK);
}

} // namespace

} // namespace test
