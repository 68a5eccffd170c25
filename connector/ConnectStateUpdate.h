#pragma once

#include "device/VynTypes.h"
#include "ipc/TagIPCMessageItem.h"

#include <cstdint>
#include <optional>

/// A connection-state update of the connectivity service, as the connecter reads it. Plain data.
struct ConnectStateUpdate
{
    static constexpr std::int32_t deviceLost = 12;
    static constexpr std::int32_t bluetoothConnected = 6;
    static constexpr std::int32_t bluetoothDisconnected = 7;

    std::int32_t evType = 0;
    VynCore::VynDevice device;

    /// Reads a message that has a payload. What a short or malformed payload lacks stays 0 or empty.
    static ConnectStateUpdate Read(const TagIPCMessageItem& message);

    /// The state that the event type means; nothing when it is no change of state.
    std::optional<VynCore::DeviceState> State() const;
};
