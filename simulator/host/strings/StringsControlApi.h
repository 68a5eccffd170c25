#pragma once

#ifndef SIM_STRINGS_API
#define SIM_STRINGS_API __declspec(dllimport)
#endif
