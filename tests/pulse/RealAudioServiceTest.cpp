// The endpoint list, the default set and the registration for notifications against an audio service that is not ours:
// Wine's, over PulseAudio with two null sinks named "Desk Speakers" and "Conference Speakers", the first the default.
#include "audio/AudioIdentifiers.h"
#include "audio/CMMNotificationClient.h"
#include "audio/CreatedComObject.h"
#include "audio/HeadFeatureConnect.h"
#include "audio/ModuleEndpoints.h"

#include "audio/EndpointRecord.h"
#include "simulator/timeline/Timeline.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mmdeviceapi.h>

#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace
{

using testing::IsEmpty;

std::string IdOf(const EndpointList& endpoints, std::wstring_view name)
{
    for (const auto& [id, record] : endpoints)
    {
        if (record.pszFlow == "eRender" && record.deviceFriendlyName.find(name) != std::wstring::npos)
        {
            return sim::ToUtf8(id);
        }
    }
    return {};
}

TEST(RealAudioService, ListsBothSinksAsActiveRenderEndpoints)
{
    EndpointList endpoints;
    HeadFeatureConnect::GetEndPointNameList(endpoints);

    EXPECT_NE(IdOf(endpoints, L"Desk Speakers"), "");
    EXPECT_NE(IdOf(endpoints, L"Conference Speakers"), "");
    for (const auto& [id, record] : endpoints)
    {
        EXPECT_EQ(id, record.devicePwszAllID);
        EXPECT_EQ(record.deviceStateName, "DEVICE_STATE_ACTIVE");
        EXPECT_EQ(record.deviceTypeID, 0U);
        EXPECT_EQ(record.deviceMacAddr, "");
    }
    EXPECT_THAT(sim::Timeline::Instance().Texts("log4"), IsEmpty());
}

TEST(RealAudioService, DefaultSetIsTheOneDefaultSinkForBothRoles)
{
    EndpointList endpoints;
    HeadFeatureConnect::GetEndPointNameList(endpoints);
    const DefaultSet defaults = HeadFeatureConnect::GetDefaultEndPointName();

    ASSERT_EQ(defaults.size(), 1U);
    EXPECT_EQ(endpoints.count(*defaults.begin()), 1U);
    EXPECT_EQ(endpoints.at(*defaults.begin()).pszFlow, "eRender");
}

TEST(RealAudioService, WorksOnAThreadWithoutApartment)
{
    EndpointList endpoints;
    std::thread([&] { HeadFeatureConnect::GetEndPointNameList(endpoints); }).join();
    EXPECT_NE(IdOf(endpoints, L"Desk Speakers"), "");
}

void InitializeNotificationClient()
{
    const std::scoped_lock lock(ModuleEndpoints::Instance().defaultSetMutex);
    CMMNotificationClient::Initialize();
    CMMNotificationClient::SetDeviceChangeCallback([](const std::wstring&, const std::string&) {});
}

TEST(RealAudioService, TakesTheNotificationClientOnce)
{
    InitializeNotificationClient();
    InitializeNotificationClient();
    EXPECT_THAT(sim::Timeline::Instance().Texts("log4"), IsEmpty());

    CreatedComObject<IMMDeviceEnumerator> enumerator(AudioIdentifiers::deviceEnumeratorClass, CLSCTX_ALL,
                                                     AudioIdentifiers::deviceEnumeratorInterface);
    ASSERT_TRUE(enumerator);
    EXPECT_EQ(enumerator->UnregisterEndpointNotificationCallback(&CMMNotificationClient::Instance()), S_OK);
    EXPECT_NE(enumerator->UnregisterEndpointNotificationCallback(&CMMNotificationClient::Instance()), S_OK);
}

TEST(RealAudioService, FillsAndRefreshesTheModulesEndpoints)
{
    ModuleEndpoints::Instance().Fill();
    EXPECT_NE(IdOf(ModuleEndpoints::Instance().endpointList, L"Conference Speakers"), "");
    EXPECT_EQ(ModuleEndpoints::Instance().defaultSet.size(), 1U);

    ModuleEndpoints::Instance().RefreshEndPointNameList();
    EXPECT_NE(IdOf(ModuleEndpoints::Instance().endpointList, L"Conference Speakers"), "");
    EXPECT_THAT(sim::Timeline::Instance().Texts("log4"), IsEmpty());
}

} // namespace
