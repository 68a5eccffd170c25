#include "simulator/timeline/Cause.h"

#include <atomic>

namespace sim
{

namespace
{

std::atomic<CauseId> nextCause = 1;
thread_local CauseId current = 0; // a number, so that nothing has to be destroyed when a thread ends

} // namespace

CauseId NewCause()
{
    return nextCause++;
}

void NumberCausesFrom(CauseId first)
{
    nextCause = first;
}

CauseId CurrentCause()
{
    return current;
}

CauseScope::CauseScope(CauseId cause) : before_(current)
{
    current = cause;
}

CauseScope::~CauseScope()
{
    current = before_;
}

} // namespace sim
