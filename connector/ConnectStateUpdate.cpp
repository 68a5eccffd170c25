#include "connector/ConnectStateUpdate.h"

#include "ipc/IpcBufferBuild.h"
#include "ipc/QvIpcPackage.h"

#include <map>
#include <string>

using VynCore::DeviceState;

ConnectStateUpdate ConnectStateUpdate::Read(const TagIPCMessageItem& message)
{
    ConnectStateUpdate update;
    VynCore::VynDevice& device = update.device;
    device.deviceType = VynCore::DeviceType::Headset;
    IpcBufferBuild channel(message.data, static_cast<std::uint32_t>(message.dataLength), true);
    QvIpcPackage package(&channel);
    std::string unusedText; // the fourth text is not kept
    package.UnpacketInt(update.evType);
    for (std::string* text : {&device.deviceId, &device.baseInfo.deviceMacAddr, &device.deviceName, &unusedText,
                              &device.deviceGroup, &device.modelId, &device.subModelId})
    {
        package.UnpacketString(*text);
    }
    return update;
}

std::optional<DeviceState> ConnectStateUpdate::State() const
{
    static const std::map<std::int32_t, DeviceState> states = {
        {3, DeviceState::Disconnected},
        {4, DeviceState::Disconnected},
        {5, DeviceState::Connected},
        {bluetoothConnected, DeviceState::Connected},
        {bluetoothDisconnected, DeviceState::Disconnected},
        {101, DeviceState::Disconnected},
        {102, DeviceState::Connected},
    };
    const auto found = states.find(evType);
    return found == states.end() ? std::nullopt : std::optional(found->second);
}
