// Nothing has to be replaced: SetupAPI is the stand-in's, over the same nodes.
#include "simulator/audio/DeviceClients.h"

namespace sim
{

DeviceClients::DeviceClients() = default;

} // namespace sim
