// A worker that fails half-way, for want of memory.
#include "tests/feature/FeatureHandlerTest.h"

#include <atomic>
#include <new>

namespace test
{

namespace
{

using testing::IsEmpty;

std::atomic<bool> isMemoryShort = false;

/// The host's function, which the worker calls for what it logs.
std::string Shortened(const std::string& serial)
{
    if (isMemoryShort)
    {
        throw std::bad_alloc();
    }
    return serial;
}

class WorkerFailure : public FeatureHandlerTest
{
protected:
    ~WorkerFailure() override { isMemoryShort = false; }

    const ImportPatch patch{
        nullptr, "AccessoryBase.dll",
        "_ZN16AccessoryBaseSdk22GetLastTwoSerialNumberERKNSt7__cxx1112basic_stringIcSt11char_traitsIcE"
        "SaIcEEE",
        &Shortened};
};

TEST_F(WorkerFailure, TakesTheTaskAgainAfterAPause)
{
    std::atomic<int> pauses = 0;
    WatchedWaits waits(nullptr, {{500, 0}, {10000, 0}});
    waits.SetHook(
        [&](DWORD length)
        {
            if (length == 500 && ++pauses == 2) // the first is before the switch, the second after the failure
            {
                isMemoryShort = false;
            }
        });
    isMemoryShort = true;
    handler->DisableFeature(Device(mac));
    StartWorkerOnly();
    ASSERT_TRUE(WaitFor("log3", "Download wait...0(HeadsetAudioFeatureHandler::CooperateThreadFunc)", 3));
    EXPECT_THAT(Queued(), IsEmpty());
    EXPECT_EQ(pauses, 3);
    const auto reports = sim::HostControl::Instance().FeatureStateReports();
    ASSERT_EQ(reports.size(), 2U); // given up twice
    for (const sim::FeatureStateReport& report : reports)
    {
        EXPECT_EQ(report.device.deviceId, mac);
        EXPECT_EQ(report.info.state, 0);
    }
}

} // namespace

} // namespace test
