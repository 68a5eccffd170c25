#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <string>

namespace sim
{

/// How many objects of each class clients have, and how many references on them. One object for the process; every
/// operation may be called from any thread.
class LiveCounts
{
public:
    static LiveCounts& Instance();

    void ObjectMade(const char* className);
    void ObjectGone(const char* className);
    void ReferenceTaken(const char* className);
    void ReferenceGiven(const char* className);

    /// Classes with none are left out.
    std::map<std::string, std::size_t> Objects() const;
    std::map<std::string, std::size_t> References() const;

private:
    mutable std::mutex mutex_;
    std::map<std::string, std::size_t> objects_;    // guarded by mutex_
    std::map<std::string, std::size_t> references_; // guarded by mutex_
};

} // namespace sim
