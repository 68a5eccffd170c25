#pragma once

#include <cstdint>
#include <string>

namespace VynCore
{

/// Results of the provider proxy. The module ignores them.
enum class VynError : std::int32_t
{
    Success = 0,
    InvalidArgument = 1,
    AlreadyRegistered = 2,
    NotRegistered = 3,
};

/// What a provider is; the first component of its keyword.
enum class VynProviderType : std::int32_t
{
    DevFinder = 1,
    DevConnecter = 2,
    DevFeatureHandler = 3,
    ToolProvider = 4,
};
static_assert(static_cast<int>(VynProviderType::DevFinder) == 1);
static_assert(static_cast<int>(VynProviderType::DevConnecter) == 2);
static_assert(static_cast<int>(VynProviderType::DevFeatureHandler) == 3);
static_assert(static_cast<int>(VynProviderType::ToolProvider) == 4);

/// Kinds of device. The host knows more of them.
enum class DeviceType : std::int32_t
{
    Headset = 0xA1F,
    Unknown = 0xFFFF,
};
static_assert(static_cast<int>(DeviceType::Headset) == 2591);
static_assert(static_cast<int>(DeviceType::Unknown) == 65535);

/// Ways to find a device. The host knows more of them.
enum class DevChannelType : std::int32_t
{
    Default = 0,
};

/// Connection state of a device.
enum class DeviceState : std::int32_t
{
    Connected = 0,
    Connecting = 1,
    Disconnected = 2,
    Disconnecting = 3,
    Enabled = 4,
    Enabling = 5,
    Disabling = 6,
};
static_assert(static_cast<int>(DeviceState::Connected) == 0);
static_assert(static_cast<int>(DeviceState::Connecting) == 1);
static_assert(static_cast<int>(DeviceState::Disconnected) == 2);
static_assert(static_cast<int>(DeviceState::Disconnecting) == 3);
static_assert(static_cast<int>(DeviceState::Enabled) == 4);
static_assert(static_cast<int>(DeviceState::Enabling) == 5);
static_assert(static_cast<int>(DeviceState::Disabling) == 6);

/// What every device has.
struct DeviceBaseInfo
{
    std::string deviceMacAddr; // a headset's Bluetooth address, as the unsigned decimal digits of its 48-bit value
};

/// The host's record of one device. Plain data, copied by value. Texts are narrow, in the ANSI code page.
struct VynDevice
{
    std::string deviceId;    // first text: the device identifier
    DeviceBaseInfo baseInfo; // second text
    std::string deviceName;  // third text
    std::string deviceAlias; // fourth text
    std::string deviceGroup; // fifth text
    std::string modelId;
    std::string subModelId;
    std::string bluetoothAddr; // a headset's Bluetooth address in the same decimal form
    DeviceType deviceType = DeviceType::Unknown;
};

/// State of one feature of one device. Plain data, copied by value.
struct DevFeatureStateInfo
{
    std::int32_t featureId = 0;
    std::int32_t state = 0; // headset audio: 0 not enabled, 3 enabled
    std::wstring extraText;
};

} // namespace VynCore
