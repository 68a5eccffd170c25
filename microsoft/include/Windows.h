// Under the name that sources take for it where file names have no case.
#pragma once

#include <windows.h>
