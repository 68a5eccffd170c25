#pragma once

#include "simulator/support/ImportPatch.h"

namespace test
{

using sim::ImportPatch;

} // namespace test
