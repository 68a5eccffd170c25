#pragma once

#include "tests/includes/Clock.h"

bool IsOver(const Clock& clock);
