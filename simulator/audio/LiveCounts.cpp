#include "simulator/audio/LiveCounts.h"

namespace sim
{

namespace
{

void CountDown(std::map<std::string, std::size_t>& counts, const char* className)
{
    const auto found = counts.find(className);
    if (--found->second == 0)
    {
        counts.erase(found);
    }
}

} // namespace

LiveCounts& LiveCounts::Instance()
{
    // Never destroyed: clients may still release objects while the process ends.
    static LiveCounts* const instance = new LiveCounts();
    return *instance;
}

void LiveCounts::ObjectMade(const char* className)
{
    const std::scoped_lock lock(mutex_);
    ++objects_[className];
}

void LiveCounts::ObjectGone(const char* className)
{
    const std::scoped_lock lock(mutex_);
    CountDown(objects_, className);
}

void LiveCounts::ReferenceTaken(const char* className)
{
    const std::scoped_lock lock(mutex_);
    ++references_[className];
}

void LiveCounts::ReferenceGiven(const char* className)
{
    const std::scoped_lock lock(mutex_);
    CountDown(references_, className);
}

std::map<std::string, std::size_t> LiveCounts::Objects() const
{
    const std::scoped_lock lock(mutex_);
    return objects_;
}

std::map<std::string, std::size_t> LiveCounts::References() const
{
    const std::scoped_lock lock(mutex_);
    return references_;
}

} // namespace sim
