// A stop that comes while another thread is stopping or replacing the loop.
#include "tests/feature/FeatureHandlerTest.h"

#include <future>
#include <mutex>

EXPOSE_PRIVATE(LoopLifeMutex, &HeadsetAudioFeatureHandler::loopLifeMutex);

namespace test
{

namespace
{

class StopBesideAStop : public FeatureHandlerTest
{
};

TEST_F(StopBesideAStop, LeavesTheLoopToTheOther)
{
    ((*handler).*MemberOf(StartTaskLoop{}))();
    Queue(mac, 3);
    std::promise<void> isHeld;
    std::promise<void> isDone;
    auto other = std::async(std::launch::async,
                            [&]
                            {
                                const std::scoped_lock lock(Field(LoopLifeMutex{}));
                                isHeld.set_value();
                                isDone.get_future().wait();
                            });
    isHeld.get_future().wait();
    EXPECT_TRUE(handler->UnInit());
    EXPECT_TRUE(Field(VolumeLoop{})->IsRunning());
    EXPECT_TRUE(Queued().empty());
    isDone.set_value();
    other.get();

    EXPECT_TRUE(handler->UnInit());
    EXPECT_FALSE(Field(VolumeLoop{})->IsRunning());
}

} // namespace

} // namespace test
