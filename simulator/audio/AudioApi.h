#pragma once

#ifndef SIM_AUDIO_API
#define SIM_AUDIO_API __declspec(dllimport)
#endif
