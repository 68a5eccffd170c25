#pragma once

#ifndef UI_STRINGS_API
#define UI_STRINGS_API __declspec(dllimport)
#endif
