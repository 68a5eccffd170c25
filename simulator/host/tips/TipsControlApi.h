#pragma once

#ifndef SIM_TIPS_API
#define SIM_TIPS_API __declspec(dllimport)
#endif
