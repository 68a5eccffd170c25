#pragma once

#include "connector/ServerReadyEvent.h"
#include "device/IDevConnecter.h"
#include "device/IpcProxy.h"
#include "device/VynTypes.h"
#include "ipc/TagIPCMessageItem.h"
#include "plugin/OwnedHandle.h"
#include "plugin/ThreadSafety.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

/// The device connecter: follows the connection states of headsets as the connectivity service tells them, tells the
/// host of every change, and passes the host's connect requests on.
///
/// Threads: the plug-in builds it and calls `Init` and `UnInit`, the host's threads call the operations of
/// `IDevConnecter`, the IPC library's callback thread runs the message handlers, all of them at once if they like. It is
/// owned by a shared pointer; a running handler keeps it alive.
///
/// Locks: the host is told, and the log written, under `devStatsMutex`; nothing is called under the others. `statesMutex`
/// is taken under `devStatsMutex`; apart from that no two of them are held together.
class HeadsetConnector : public VynCore::IDevConnecter
{
public:
    HeadsetConnector() = default;
    ~HeadsetConnector() override;
    HeadsetConnector(const HeadsetConnector&) = delete;
    HeadsetConnector& operator=(const HeadsetConnector&) = delete;

    /// Connects to the service, registers with it and waits up to 3000 ms for its announcement. Returns whether the
    /// service has announced itself; when it has not, it may still do so later. When it is repeated, the earlier proxy
    /// goes, which waits for a handler that is running.
    bool Init();

    /// Takes leave of the service, drops the message handlers and forgets all devices. A step that throws leaves the others
    /// to be made. It may run inside the host's notification; a handler that is running is not waited for.
    void UnInit();

    VynCore::DeviceType GetDevType() override;

    /// Reports the device as connecting, then sends the request to the service. Returns 0.
    std::int32_t ConnectDev(const VynCore::VynDevice& device) override;
    std::int32_t DisconnectDev(const VynCore::VynDevice& device) override;

    /// Tells the host of a device's first state, and of a later one when it differs from the one before. Not to be
    /// called from the host's notification.
    void NotifyConnStateChanged(const VynCore::VynDevice& device, VynCore::DeviceState state) override;
    void CancelConnectDev(const VynCore::VynDevice& device) override;

    /// Asks the service for the connected devices, after waiting up to 3000 ms for it to announce itself. Returns 0; the
    /// answers come as changes of connection state.
    std::int32_t QueryConnectedDevAsync() override;
    std::int32_t StopQueryConnectedDev() override;

    /// Forgets a device without telling the host.
    void DelLostDev(const VynCore::VynDevice& device);

    // Handlers of the service's messages; they are called on the IPC library's thread. What answers a connect request
    // blocks it for 1000 ms.
    void OnRecvServerStateChanged(const TagIPCMessageItem& message);
    void OnRecvDeviceConnectStateUpdate(const TagIPCMessageItem& message);

    /// Takes note of an announcement of the service and registers with it anew, until it has said that it works.
    void AmbrelServerInitSuccess(std::int32_t messageId);

private:
    using DeviceKey = std::pair<std::string, std::string>; // `modelId`, fifth text

    std::shared_ptr<VynCore::IpcProxy> Proxy() const;
    void ReplaceProxy(std::shared_ptr<VynCore::IpcProxy> proxy);
    void RegisterCallbacks(VynCore::IpcProxy& proxy);
    void CreateServerReadyEvent();
    void AwaitServer(const char* operation, const char* label);
    void PostStopped();
    void DropCallbacks();
    void PauseAfterConnectRequest(std::int32_t evType);

    /// Stores a state and gives the one that was stored before, if there was one.
    std::optional<VynCore::DeviceState> ExchangeState(const DeviceKey& devItem, VynCore::DeviceState state);
    bool EraseState(const DeviceKey& devItem);
    void ForgetStates();

    std::shared_ptr<VynCore::IpcProxy> ipcProxy HEADSET_GUARDED_BY(proxyMutex);
    std::atomic<bool> serverWorking{false}; // once true it stays so
    OwnedHandle serverReadyEvent;           // serverReady's alone
    std::atomic<bool> IsConnectDev{false};  // set by a connect request, cleared by the next update of event type 6 or 7
    std::mutex devStatsMutex; // one report to the host at a time: held from the look-up to the end of the notification
    std::map<DeviceKey, VynCore::DeviceState> devStatsMap HEADSET_GUARDED_BY(statesMutex); // last state of each device

    mutable std::mutex proxyMutex; // a leaf
    // A leaf. Emptying the map must not take devStatsMutex: the host may withdraw the provider from inside its
    // notification, or while another thread's notification waits for the host.
    std::mutex statesMutex;
    ServerReadyEvent serverReady{serverReadyEvent};
};
