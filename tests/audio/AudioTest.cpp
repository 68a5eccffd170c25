#include "tests/audio/AudioTest.h"

#include "simulator/audio/ContainerIds.h"
#include "simulator/audio/EndpointOptions.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <thread>

namespace test
{

namespace
{

template <typename Mutex> bool IsFree(Mutex& mutex)
{
    bool isFree = false;
    std::thread(
        [&]
        {
            const std::unique_lock lock(mutex, std::try_to_lock);
            isFree = lock.owns_lock();
        })
        .join();
    return isFree;
}

} // namespace

std::vector<std::string> Story(std::initializer_list<std::string_view> who)
{
    std::vector<std::string> lines;
    for (const sim::TimelineEntry& entry : sim::Timeline::Instance().Entries())
    {
        if (std::ranges::find(who, entry.who) != who.end())
        {
            lines.push_back(entry.who + " " + entry.what);
        }
    }
    return lines;
}

bool IsDefaultSetLockFree()
{
    return IsFree(ModuleEndpoints::Instance().defaultSetMutex);
}

bool IsEndpointLockFree()
{
    return IsFree(ModuleEndpoints::Instance().endpointMutex);
}

AudioTest::AudioTest()
{
    service.Reset();
    host.Reset();
    faults.Clear();
    timeline.SetListener({});
    timeline.Clear();
    endpoints.endpointList.clear();
    endpoints.defaultSet.clear();
    keptObjects = service.LiveObjects();
}

AudioTest::~AudioTest()
{
    timeline.SetListener({});
    faults.Clear();
    ExpectNothingHeld();
    EXPECT_TRUE(IsDefaultSetLockFree());
    EXPECT_TRUE(IsEndpointLockFree());
    service.Reset();
}

void AudioTest::ExpectNothingHeld() const
{
    EXPECT_EQ(service.LiveObjects(), keptObjects);
    EXPECT_EQ(service.LiveReferences(), keptObjects); // one reference for each kept object
    EXPECT_EQ(service.LiveMemory(), 0U);
}

std::wstring AudioTest::AddSpeaker()
{
    return service.AddEndpoint(
        {.label = "speaker", .friendlyName = L"Speakers (Built-in)", .containerId = sim::builtInContainer});
}

void AudioTest::ConnectHeadset(sim::HeadsetOptions options)
{
    nodes.AddHeadset(options.address);
    service.ConnectHeadset(options);
}

void AudioTest::AtAudioCall(const std::string& prefix, const std::function<void()>& look)
{
    timeline.SetListener(
        [prefix, look](const sim::TimelineEntry& entry)
        {
            if (entry.who == "audio" && entry.what.starts_with(prefix))
            {
                look();
            }
        });
}

void AudioTest::WithEachCallFailing(const std::function<void()>& work)
{
    constexpr std::int32_t failure = static_cast<std::int32_t>(0x88890004);
    for (const std::int32_t result : {failure, std::int32_t{0}})
    {
        std::uint32_t nth = 0;
        do
        {
            ++nth;
            SCOPED_TRACE("call " + std::to_string(nth) + " answers " + std::to_string(result));
            faults.Clear();
            faults.FailNthOf("", nth, result);
            work();
            ExpectNothingHeld();
        } while (faults.Calls("") >= nth);
        EXPECT_GT(nth, 2U); // else there was nothing that could fail
    }
    faults.Clear();
}

} // namespace test
