#include "tests/feature/HeldLocks.h"

#include "simulator/timeline/Timeline.h"

#include <windows.h>

#include <thread>

namespace test
{

HeldLocks::HeldLocks() : thread_(GetCurrentThreadId())
{
    sim::Timeline::Instance().SetListener(
        [this](const sim::TimelineEntry& entry)
        {
            const std::scoped_lock lock(mutex_);
            if (entry.threadId == thread_)
            {
                story_.push_back(entry.who + " " + entry.what + " [" + NamesOfHeld() + "]");
            }
        });
}

HeldLocks::~HeldLocks()
{
    sim::Timeline::Instance().SetListener({});
}

std::vector<std::string> HeldLocks::Story() const
{
    const std::scoped_lock lock(mutex_);
    return story_;
}

std::string HeldLocks::NamesOfHeld() const
{
    std::string names;
    std::thread(
        [&]
        {
            for (const auto& [name, isHeld] : locks_)
            {
                if (isHeld())
                {
                    names += names.empty() ? name : " " + name;
                }
            }
        })
        .join();
    return names;
}

} // namespace test
