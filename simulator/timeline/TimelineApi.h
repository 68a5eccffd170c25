#pragma once

#ifndef SIM_TIMELINE_API
#define SIM_TIMELINE_API __declspec(dllimport)
#endif
