#include "simulator/audio/ServiceCore.h"

namespace sim
{

ServiceCore& ServiceCore::Instance()
{
    // Never destroyed: its threads, and clients, may still use it while the process ends.
    static ServiceCore* const instance = new ServiceCore();
    return *instance;
}

ServiceCore::PostAtEnd::~PostAtEnd()
{
    core_.dispatcher_.Post(core_.model_.TakeNotifications());
    core_.changed_.notify_all();
}

} // namespace sim
