#pragma once

#include "audio/CMMNotificationClient.h"
#include "tests/audio/AudioTest.h"
#include "tests/support/PrivateAccess.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <mmdeviceapi.h>
#include <objbase.h>

#include <mutex>
#include <string>
#include <utility>
#include <vector>

EXPOSE_PRIVATE(ClientCallback, &CMMNotificationClient::propertyChanged);

namespace test
{

/// The module's notification client without a callback, in a service with a speaker.
class NotificationClientTest : public AudioTest
{
protected:
    using Call = std::pair<std::wstring, std::string>; // of the callback: id and detail

    NotificationClientTest()
    {
        client.*MemberOf(ClientCallback{}) = nullptr; // one may be left from an earlier test of the process
        speaker = AddSpeaker();
        timeline.Clear();
    }

    /// Sets a callback that remembers its calls and tells of them.
    void SetRecordingCallback()
    {
        CMMNotificationClient::SetDeviceChangeCallback(
            [this](const std::wstring& id, const std::string& detail)
            {
                timeline.Add("test", "callback " + detail);
                const std::scoped_lock lock(callsMutex_);
                calls_.emplace_back(id, detail);
            });
    }

    std::vector<Call> Calls() const
    {
        const std::scoped_lock lock(callsMutex_);
        return calls_;
    }

    /// Nothing of the module's endpoints has been looked up since the fixture was made.
    bool NothingRefreshed() const
    {
        return faults.Calls("") == 0 && endpoints.endpointList.empty() && endpoints.defaultSet.empty();
    }

    /// Registers the client with the service past the module.
    void Register()
    {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        IMMDeviceEnumerator* enumerator = nullptr;
        const CLSID classId = {0xBCDE0395, 0xE52F, 0x467C, {0x8E, 0x3D, 0xC4, 0x57, 0x92, 0x91, 0x69, 0x2E}};
        ASSERT_EQ(CoCreateInstance(classId, nullptr, CLSCTX_ALL, __uuidof(IMMDeviceEnumerator),
                                   reinterpret_cast<void**>(&enumerator)),
                  S_OK);
        EXPECT_EQ(enumerator->RegisterEndpointNotificationCallback(&client), S_OK);
        enumerator->Release();
        CoUninitialize();
        faults.Clear();
        timeline.Clear();
    }

    CMMNotificationClient& client = CMMNotificationClient::Instance();
    std::wstring speaker;

private:
    mutable std::mutex callsMutex_;
    std::vector<Call> calls_; // guarded by callsMutex_
};

} // namespace test
