// Has the compiler lay out every record whose fields the tables hold; it dumps what it lays out. Never run.
#include "audio/CMMNotificationClient.h"
#include "audio/EarEndpointInfo.h"
#include "audio/EndpointRecord.h"
#include "connector/HeadsetConnector.h"
#include "device/IDevConnecter.h"
#include "device/IDevFeatureHandler.h"
#include "device/IDevFinder.h"
#include "device/IToolProvider.h"
#include "device/VynTypes.h"
#include "feature/CoopTask.h"
#include "feature/HeadsetAudioFeatureHandler.h"
#include "ipc/TagIPCMessageItem.h"
#include "plugin/HeadsetAdapterPlugin.h"
#include "taskloop/LoopTask.h"
#include "taskloop/TaskLoop.h"

#include <cstddef>

template <typename... Records> constexpr std::size_t SizeOf()
{
    return (sizeof(Records) + ...);
}

static_assert(SizeOf<CMMNotificationClient, CoopTask, EarEndpointInfo, EndpointRecord, HeadsetAdapterPlugin,
                     HeadsetAudioFeatureHandler, HeadsetConnector, LoopTask, TagIPCMessageItem, TaskLoop,
                     VynCore::DevFeatureStateInfo, VynCore::IDevConnecter, VynCore::IDevFeatureHandler,
                     VynCore::IDevFinder, VynCore::IToolProvider, VynCore::VynDevice>() > 0);

// What the tables cannot show: the host's enumerations have 32 bits.
static_assert(sizeof(VynCore::VynError) == 4);
static_assert(sizeof(VynCore::VynProviderType) == 4);
static_assert(sizeof(VynCore::DeviceType) == 4);
static_assert(sizeof(VynCore::DevChannelType) == 4);
static_assert(sizeof(VynCore::DeviceState) == 4);
