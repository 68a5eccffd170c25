#pragma once

#ifndef SIM_HOST_API
#define SIM_HOST_API __declspec(dllimport)
#endif
