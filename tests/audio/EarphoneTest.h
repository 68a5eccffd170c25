#pragma once

#include "audio/EndpointRecord.h"
#include "feature/HeadsetAudioFeatureHandler.h"
#include "tests/audio/AudioTest.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace test
{

/// A feature handler that was never started: it has no worker and no link to the service.
class EarphoneTest : public AudioTest
{
protected:
    /// Adds a record to the module-wide list, past the platform.
    EndpointRecord& Insert(const std::wstring& id, const std::string& flow, std::uint32_t type, const std::string& key,
                           const std::string& state = "DEVICE_STATE_ACTIVE", std::wstring_view containerId = {})
    {
        EndpointRecord record;
        record.devicePwszAllID = id;
        record.deviceStateName = state;
        record.pszFlow = flow;
        record.deviceTypeID = type;
        record.deviceMacAddr = key;
        containerId.copy(record.containerId, containerId.size());
        return endpoints.endpointList[id] = record;
    }

    std::shared_ptr<HeadsetAudioFeatureHandler> handler = std::make_shared<HeadsetAudioFeatureHandler>();
};

} // namespace test
