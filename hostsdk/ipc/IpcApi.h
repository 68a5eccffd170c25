#pragma once

#ifndef QV_IPC_API
#define QV_IPC_API __declspec(dllimport)
#endif
