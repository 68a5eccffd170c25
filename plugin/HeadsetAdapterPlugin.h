#pragma once

#include "device/VynProviderPlugin.h"

#include <memory>

class HeadsetAudioFeatureHandler;
class HeadsetConnector;

/// The plug-in object: owns both providers and makes them known to the host.
///
/// Threads: the host's, one at a time. The host owns it: the module's exported functions make it and take its storage
/// back. Its destructor never runs, so that both providers live until the process ends: this is intended.
class HeadsetAdapterPlugin final : public VynProviderPlugin
{
public:
    /// Makes both providers, the connecter first. One that cannot be made stays null.
    HeadsetAdapterPlugin() noexcept;

    HeadsetAdapterPlugin(const HeadsetAdapterPlugin&) = delete;
    HeadsetAdapterPlugin& operator=(const HeadsetAdapterPlugin&) = delete;

    /// Starts both providers and registers them, the connecter first. May block for 6000 ms. The result is always
    /// false; a failure shows in the log alone: this is intended.
    bool Init() override;

    /// Withdraws and stops both providers. The result is always false.
    bool UnInit() override;

private:
    std::shared_ptr<HeadsetConnector> connector;
    std::shared_ptr<HeadsetAudioFeatureHandler> featureHandler;
};
