// A worker that fails half-way when memory runs out.
#include "tests/feature/FeatureHandlerTest.h"

#include "tests/support/ImportPatch.h"

#include <windows.h>

#include <atomic>
#include <new>

namespace test
{

namespace
{

using testing::ElementsAre;
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

    const ImportPatch patch{nullptr, "AccessoryBase.dll", shortening, &Shortened};
};

TEST_F(WorkerFailure, LetsATaskThatIsGivenUpRunOnce)
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
    ASSERT_TRUE(WaitFor("log3", Text("CooperateThreadFunc", "Download wait...0"), 2));
    EXPECT_THAT(Queued(), IsEmpty());
    EXPECT_EQ(pauses, 2);
    handler->DisableFeature(Device(otherMac)); // it is carried out as ever
    ASSERT_TRUE(WaitFor("log3", Text("CooperateThreadFunc", "Download wait...0"), 3));
    EXPECT_THAT(Story({"host"}), ElementsAre("host OnFeatureStateChanged 11111822610015 9 0",
                                             "host OnFeatureStateChanged 18838586676582 9 0"));
    const std::scoped_lock lock(Field(CoopMutex{}));
    EXPECT_EQ(Field(PendingMac{}), "");
    EXPECT_FALSE(Field(PendingEvent{}));
}

} // namespace

} // namespace test
