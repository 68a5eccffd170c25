#pragma once

#include "simulator/support/ImportPatch.h"

#include <list>

namespace sim
{

/// Those who ask SetupAPI for device nodes: the program, and the module that lies beside it. While it lives, what they
/// import of SetupAPI leads to DeviceSets.h.
class DeviceClients
{
public:
    DeviceClients();

private:
    std::list<ImportPatch> patches_;
};

} // namespace sim
