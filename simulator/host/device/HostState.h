#pragma once

#include "simulator/host/HostControl.h"

#include "device/IProvider.h"

#include <mutex>
#include <string>
#include <vector>

namespace sim
{

struct RegisteredProvider
{
    VynCore::IProvider* provider; // the module's
    std::string keyword;
};

/// What the provider proxy and the control of the host share. One object for the process, used by any thread.
struct HostState
{
    static HostState& Instance();

    std::mutex mutex; // guards the fields below
    std::vector<RegisteredProvider> providers;
    std::vector<ConnStateReport> connStateReports;
    std::vector<FeatureStateReport> featureStateReports;
    HostControl::ConnStateHook connStateHook;
    HostControl::FeatureStateHook featureStateHook;
    std::string ipcBus;

private:
    HostState();
    ~HostState() = default;
};

/// The bus that a process uses unless it is told another one.
std::string FirstIpcBus();

} // namespace sim
