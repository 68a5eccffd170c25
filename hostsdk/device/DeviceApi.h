#pragma once

// Entry points that the host's device SDK exports.
#ifndef VYN_DEVICE_API
#define VYN_DEVICE_API __declspec(dllimport)
#endif

// Provider interfaces are defined inline: whoever implements providers has their code, and a plug-in module exports it.
#ifndef VYN_PROVIDER_API
#define VYN_PROVIDER_API
#endif
