#include "tests/includes/Watch.h"

#include <map>

bool IsOver(const Clock&)
{
    return true;
}
