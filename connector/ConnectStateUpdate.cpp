#include "connector/ConnectStateUpdate.h"

#include "connector/HostValues.h"
#include "ipc/IpcBufferBuild.h"
#include "ipc/QvIpcPackage.h"

#include <map>
#include <string>

using VynCore::DeviceState;

ConnectStateUpdate ConnectStateUpdate::Read(const TagIPCMessageItem& message)
{
    ConnectStateUpdate update;
    VynCore::VynDevice& device = update.device;
    device.deviceType = HostValues::headset;
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
        {3, HostValues::disconnected},
        {4, HostValues::disconnected},
        {5, HostValues::connected},
        {bluetoothConnected, HostValues::connected},
        {bluetoothDisconnected, HostValues::disconnected},
        {101, HostValues::disconnected},
        {102, HostValues::connected},
    };
    const auto found = states.find(evType);
    return found == states.end() ? std::nullopt : std::optional(found->second);
}
