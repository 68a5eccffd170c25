#pragma once

#include "audio/EndpointRecord.h"
#include "plugin/ThreadSafety.h"

#include <mutex>

/// What the module knows of the computer's audio endpoints: one object, made on first use and never destroyed, since
/// notification threads and the detached worker may outlive everything else.
///
/// Host threads, IPC threads, the cooperation worker and the platform's notification threads read it; the feature
/// handler's start and the notification threads rewrite it.
///
/// The module's lock order, wherever locks are held together:
///   the feature handler's loopLifeMutex, then its deviceChangeMutex, featureStateMutex and volumeMutex, then
///   defaultSetMutex, then endpointMutex;
///   volumeMutex before tipMutex before the task loop's queueMutex.
///   the connecter's devStatsMutex (the host is called under it) before its statesMutex.
/// Leaves, under which nothing else is taken: coopMutex, proxyMutex of either provider, the mutex of a ServerReadyEvent,
/// that of the notification client's callback, statesMutex, the task loop's waitMutex and its queueMutex.
/// deviceChangeMutex, endpointMutex and volumeMutex are never held across TaskLoop::StopLoop; deviceChangeMutex and
/// endpointMutex never across CMMNotificationClient::Initialize.
struct ModuleEndpoints
{
    /// Guards defaultSet. Recursive, since operations that hold it call others that take it.
    std::recursive_mutex defaultSetMutex;
    /// Guards endpointList; it also makes enumerations and default look-ups go one after another.
    std::mutex endpointMutex;

    EndpointList endpointList HEADSET_GUARDED_BY(endpointMutex);
    DefaultSet defaultSet; // guarded by defaultSetMutex

    static ModuleEndpoints& Instance();

    /// Fills the list and then the set anew, at the module's start; takes the locks one after the other.
    void Fill();

    /// Brings the list up to date under its lock. An enumeration that failed, or found nothing, leaves it as it is.
    void RefreshEndPointNameList();

    /// Replaces the default set, under its lock and, while the platform is asked, the endpoint lock.
    void RefreshDefaultEndPointName();

    ModuleEndpoints(const ModuleEndpoints&) = delete;
    ModuleEndpoints& operator=(const ModuleEndpoints&) = delete;

private:
    ModuleEndpoints() = default;
    ~ModuleEndpoints() = default;
};
