#pragma once

#include <cstdint>

/// Identifiers of the traffic with the host's connectivity service.
namespace ServiceMessages
{

/// Module id of every message that is posted or subscribed to.
inline constexpr std::int32_t moduleId = 0xA20000;

/// Client ids of the two providers' IPC proxies.
inline constexpr std::int32_t connectorClientId = 0xB94E30;
inline constexpr std::int32_t featureHandlerClientId = 0xB94E31;

/// Posted to register with the service; published by the service when it is working.
inline constexpr std::int32_t started = 0xA203E8;
/// Posted when a provider stops; published by the service when it is not working any more.
inline constexpr std::int32_t stopped = 0xA203E9;
/// Posted once at start, after the registration.
inline constexpr std::int32_t query = 0xA203EA;
/// Connection-state updates of the service; both ids mean the same.
inline constexpr std::int32_t connectState = 0xA203F0;
inline constexpr std::int32_t connectStateAlso = 0xA203F4;
/// Posted to ask for the connected devices.
inline constexpr std::int32_t queryConnected = 0xA203F1;
/// Posted to ask for a connection.
inline constexpr std::int32_t connectRequest = 0xA203F2;
/// The service's report that a headset's audio moved to another device.
inline constexpr std::int32_t deviceChange = 0xA203F8;
/// Posted to pass a command on to a headset.
inline constexpr std::int32_t headsetCommand = 0xA203F9;

/// Name under which the module registers.
inline constexpr const char* clientName = "HeadsetAdapterPlugin";

/// Longest wait for the service's announcement, in milliseconds.
inline constexpr std::uint32_t announcementWaitMs = 3000;

/// Size of the buffers that payloads are packed into, in bytes.
inline constexpr std::uint32_t payloadCapacity = 1024;

static_assert(moduleId == 10616832 && connectorClientId == 12144176 && featureHandlerClientId == 12144177);
static_assert(started == 10617832 && stopped == 10617833 && query == 10617834);
static_assert(connectState == 10617840 && queryConnected == 10617841 && connectRequest == 10617842);
static_assert(connectStateAlso == 10617844 && deviceChange == 10617848 && headsetCommand == 10617849);

} // namespace ServiceMessages
