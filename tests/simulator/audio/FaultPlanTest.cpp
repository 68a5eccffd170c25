#include "tests/simulator/audio/AudioClient.h"

#include <cstring>
#include <stdexcept>

namespace
{

using testing::ElementsAre;

constexpr HRESULT planned = static_cast<HRESULT>(0x8ABCDEF0);

/// One call of a client: it is made twice, and the second is planned to answer something else.
struct Call
{
    const char* name; // in the fault plan
    std::function<HRESULT()> make;
};

/// Every call of every interface, with an object for each.
class AudioFaultPlanTest : public AudioServiceTest
{
protected:
    AudioFaultPlanTest()
    {
        service.AddEndpoint({.label = "speaker", .friendlyName = L"Speakers"});
        EXPECT_EQ(enumerator_->EnumAudioEndpoints(eAll, 1, devices_.Out()), S_OK);
        EXPECT_EQ(devices_->Item(0, device_.Out()), S_OK);
        EXPECT_EQ(device_->QueryInterface(endpointInterface, endpoint_.OutVoid()), S_OK);
        EXPECT_EQ(device_->OpenPropertyStore(STGM_READ, store_.Out()), S_OK);
        EXPECT_EQ(device_->Activate(volumeInterface, CLSCTX_ALL, nullptr, volume_.OutVoid()), S_OK);
        sim::FaultPlan::Instance().Clear();
    }

    /// Clears the out-values, which a planned answer has to null.
    static void Dirty(void* value, std::size_t size) { std::memset(value, 0x55, size); }
    template <class Value> static bool IsNull(const Value& value)
    {
        constexpr Value zero{};
        return std::memcmp(&value, &zero, sizeof value) == 0;
    }

    /// Makes the call with a dirty out-value; checks that it is null when the answer was planned.
    template <class Value, class Make> static HRESULT WithOut(Make make)
    {
        Value value;
        Dirty(&value, sizeof value);
        const HRESULT result = make(&value);
        EXPECT_TRUE(IsNull(value) == (result != S_OK));
        if (result == S_OK)
        {
            Free(value);
        }
        return result;
    }

    template <class Value> static void Free(Value& value)
    {
        if constexpr (std::is_convertible_v<Value, IUnknown*>)
        {
            value->Release();
        }
        else if constexpr (std::is_same_v<Value, LPWSTR>)
        {
            CoTaskMemFree(value);
        }
        else if constexpr (std::is_same_v<Value, PROPVARIANT>)
        {
            PropVariantClear(&value);
        }
        else if constexpr (std::is_same_v<Value, void*>)
        {
            static_cast<IUnknown*>(value)->Release();
        }
    }

    std::vector<Call> Calls();
    std::vector<Call> CallsOfDevices();
    std::vector<Call> CallsOfEndpoints();
    std::vector<Call> CallsOfPolicies();

    const Owned<IMMDeviceEnumerator> enumerator_ = CreateEnumerator();
    const Owned<IPolicyConfigDefault> policyDefault_ = CreatePolicyDefault();
    const Owned<IPolicyConfigVisibility> visibility_ = CreatePolicyVisibility();
    Owned<IMMDeviceCollection> devices_;
    Owned<IMMDevice> device_;
    Owned<IMMEndpoint> endpoint_;
    Owned<IPropertyStore> store_;
    Owned<IAudioEndpointVolume> volume_;
    RecordingClient client_;
};

std::vector<Call> AudioFaultPlanTest::CallsOfDevices()
{
    return {
        {"IMMDeviceEnumerator::QueryInterface",
         [this]
         {
             return WithOut<void*>([&](void** out) { return enumerator_->QueryInterface(IID_IUnknown, out); });
         }},
        {"IMMDeviceEnumerator::EnumAudioEndpoints",
         [this]
         {
             return WithOut<IMMDeviceCollection*>([&](auto** out)
                                                  { return enumerator_->EnumAudioEndpoints(eAll, 1, out); });
         }},
        {"IMMDeviceEnumerator::GetDefaultAudioEndpoint",
         [this]
         {
             return WithOut<IMMDevice*>([&](auto** out)
                                        { return enumerator_->GetDefaultAudioEndpoint(eRender, eConsole, out); });
         }},
        {"IMMDeviceEnumerator::GetDevice",
         [this]
         {
             return WithOut<IMMDevice*>([&](auto** out)
                                        { return enumerator_->GetDevice(service.Id("speaker").c_str(), out); });
         }},
        {"IMMDeviceEnumerator::RegisterEndpointNotificationCallback",
         [this]
         {
             return enumerator_->RegisterEndpointNotificationCallback(&client_);
         }},
        {"IMMDeviceEnumerator::UnregisterEndpointNotificationCallback",
         [this]
         {
             return enumerator_->UnregisterEndpointNotificationCallback(&client_);
         }},
        {"IMMDeviceCollection::QueryInterface",
         [this]
         {
             return WithOut<void*>([&](void** out) { return devices_->QueryInterface(IID_IUnknown, out); });
         }},
        {"IMMDeviceCollection::GetCount",
         [this]
         {
             return WithOut<UINT>([&](UINT* out) { return devices_->GetCount(out); });
         }},
        {"IMMDeviceCollection::Item",
         [this]
         {
             return WithOut<IMMDevice*>([&](auto** out) { return devices_->Item(0, out); });
         }},
    };
}

std::vector<Call> AudioFaultPlanTest::CallsOfEndpoints()
{
    return {
        {"IMMDevice::QueryInterface",
         [this]
         {
             return WithOut<void*>([&](void** out) { return device_->QueryInterface(endpointInterface, out); });
         }},
        {"IMMDevice::Activate",
         [this]
         {
             return WithOut<void*>([&](void** out)
                                   { return device_->Activate(volumeInterface, CLSCTX_ALL, nullptr, out); });
         }},
        {"IMMDevice::OpenPropertyStore",
         [this]
         {
             return WithOut<IPropertyStore*>([&](auto** out) { return device_->OpenPropertyStore(STGM_READ, out); });
         }},
        {"IMMDevice::GetId",
         [this]
         {
             return WithOut<LPWSTR>([&](LPWSTR* out) { return device_->GetId(out); });
         }},
        {"IMMDevice::GetState",
         [this]
         {
             return WithOut<DWORD>([&](DWORD* out) { return device_->GetState(out); });
         }},
        {"IPropertyStore::QueryInterface",
         [this]
         {
             return WithOut<void*>([&](void** out) { return store_->QueryInterface(IID_IUnknown, out); });
         }},
        {"IPropertyStore::GetCount",
         [this]
         {
             return WithOut<DWORD>([&](DWORD* out) { return store_->GetCount(out); });
         }},
        {"IPropertyStore::GetAt",
         [this]
         {
             return WithOut<PROPERTYKEY>([&](PROPERTYKEY* out) { return store_->GetAt(0, out); });
         }},
        {"IPropertyStore::GetValue",
         [this]
         {
             return WithOut<PROPVARIANT>([&](PROPVARIANT* out) { return store_->GetValue(nameKey, out); });
         }},
        {"IAudioEndpointVolume::QueryInterface",
         [this]
         {
             return WithOut<void*>([&](void** out) { return volume_->QueryInterface(IID_IUnknown, out); });
         }},
        {"IAudioEndpointVolume::GetMasterVolumeLevelScalar",
         [this]
         {
             return WithOut<float>([&](float* out) { return volume_->GetMasterVolumeLevelScalar(out); });
         }},
        {"IAudioEndpointVolume::SetMasterVolumeLevelScalar",
         [this]
         {
             return volume_->SetMasterVolumeLevelScalar(1.0F, nullptr);
         }},
    };
}

std::vector<Call> AudioFaultPlanTest::CallsOfPolicies()
{
    return {
        {"IPolicyConfigDefault::QueryInterface",
         [this]
         {
             return WithOut<void*>([&](void** out) { return policyDefault_->QueryInterface(IID_IUnknown, out); });
         }},
        {"IPolicyConfigDefault::SetDefaultEndpoint",
         [this]
         {
             return policyDefault_->SetDefaultEndpoint(service.Id("speaker").c_str(), eConsole);
         }},
        {"IPolicyConfigVisibility::QueryInterface",
         [this]
         {
             return WithOut<void*>([&](void** out) { return visibility_->QueryInterface(IID_IUnknown, out); });
         }},
        {"IPolicyConfigVisibility::SetEndpointVisibility",
         [this]
         {
             return visibility_->SetEndpointVisibility(service.Id("speaker").c_str(), 1);
         }},
    };
}

std::vector<Call> AudioFaultPlanTest::Calls()
{
    std::vector<Call> calls = CallsOfDevices();
    for (const std::vector<Call>& more : {CallsOfEndpoints(), CallsOfPolicies()})
    {
        calls.insert(calls.end(), more.begin(), more.end());
    }
    return calls;
}

TEST_F(AudioFaultPlanTest, EachCallFailsAtItsPlannedTimeWithItsOutValuesNulled)
{
    for (const Call& call : Calls())
    {
        SCOPED_TRACE(call.name);
        sim::FaultPlan::Instance().FailCall(call.name, 2, planned);
        EXPECT_EQ(call.make(), S_OK);
        EXPECT_EQ(call.make(), planned);
        // The registrations of this round are two, and taken back in the next.
        EXPECT_EQ(sim::FaultPlan::Instance().Calls(call.name), 2U);
    }
}

TEST_F(AudioFaultPlanTest, APlannedSuccessDoesNoWork)
{
    for (const Call& call : Calls())
    {
        SCOPED_TRACE(call.name);
        sim::FaultPlan::Instance().FailCall(call.name, 1, S_FALSE);
        EXPECT_EQ(call.make(), S_FALSE);
    }
    EXPECT_EQ(service.RegisteredClients(), 0U);
}

TEST_F(AudioFaultPlanTest, EachCallThrowsAtItsPlannedTimeAndLeavesNothingBehind)
{
    for (const Call& call : Calls())
    {
        SCOPED_TRACE(call.name);
        const auto objects = service.LiveObjects();
        const auto references = service.LiveReferences();
        const std::size_t memory = service.LiveMemory();
        sim::FaultPlan::Instance().ThrowFrom(call.name, 1);
        EXPECT_THROW(call.make(), std::runtime_error);
        EXPECT_EQ(service.LiveObjects(), objects);
        EXPECT_EQ(service.LiveReferences(), references);
        EXPECT_EQ(service.LiveMemory(), memory);
        EXPECT_EQ(call.make(), S_OK);
    }
    EXPECT_EQ(service.RegisteredClients(), 0U);
}

TEST_F(AudioFaultPlanTest, AThrownCallTellsItsNameAndChangesNothing)
{
    sim::Timeline::Instance().Clear();
    sim::FaultPlan::Instance().ThrowFrom("IAudioEndpointVolume::SetMasterVolumeLevelScalar", 0);
    for (int time = 0; time < 2; ++time)
    {
        try
        {
            volume_->SetMasterVolumeLevelScalar(0.5F, nullptr);
            ADD_FAILURE() << "it did not throw";
        }
        catch (const std::runtime_error& error)
        {
            EXPECT_STREQ(error.what(), "IAudioEndpointVolume::SetMasterVolumeLevelScalar");
        }
    }
    EXPECT_EQ(service.Volume("speaker"), 1.0F);
    EXPECT_THAT(Told(), testing::IsEmpty());
    EXPECT_THAT(Told("fault"), ElementsAre("IAudioEndpointVolume::SetMasterVolumeLevelScalar throws",
                                           "IAudioEndpointVolume::SetMasterVolumeLevelScalar throws"));
    sim::FaultPlan::Instance().Clear();
    EXPECT_EQ(volume_->SetMasterVolumeLevelScalar(0.5F, nullptr), S_OK);
}

TEST_F(AudioFaultPlanTest, OfSeveralFaultsOfACallTheFirstOneCounts)
{
    sim::FaultPlan::Instance().FailCall("IMMDevice::GetState", 1, planned);
    sim::FaultPlan::Instance().ThrowFrom("IMMDevice::GetState", 0);
    DWORD state = 0;
    EXPECT_EQ(device_->GetState(&state), planned);
    EXPECT_THROW(device_->GetState(&state), std::runtime_error);
}

TEST_F(AudioFaultPlanTest, TheFlowOfAnEndpointCanFail)
{
    sim::FaultPlan::Instance().FailCall("IMMEndpoint::GetDataFlow", 1, planned);
    EDataFlow flow = eCapture;
    EXPECT_EQ(endpoint_->GetDataFlow(&flow), planned);
    EXPECT_EQ(flow, eRender) << "which is 0";
    EXPECT_EQ(endpoint_->GetDataFlow(&flow), S_OK);
}

TEST_F(AudioFaultPlanTest, TheMuteSwitchAndTheClosedOperationsAreEnteredToo)
{
    for (const char* const name :
         {"IAudioEndpointVolume::GetMute", "IAudioEndpointVolume::SetMute", "IAudioEndpointVolume::VolumeStepUp",
          "IPropertyStore::SetValue", "IPropertyStore::Commit", "IPolicyConfigDefault::Slot3"})
    {
        sim::FaultPlan::Instance().FailCall(name, 1, planned);
    }
    BOOL muted = TRUE;
    EXPECT_EQ(volume_->GetMute(&muted), planned);
    EXPECT_FALSE(muted);
    EXPECT_EQ(volume_->SetMute(TRUE, nullptr), planned);
    EXPECT_FALSE(service.Muted("speaker"));
    EXPECT_EQ(volume_->VolumeStepUp(nullptr), planned);
    EXPECT_EQ(store_->SetValue(nameKey, PROPVARIANT{}), planned);
    EXPECT_EQ(store_->Commit(), planned);
    EXPECT_EQ(policyDefault_->Slot3(), planned);
}

TEST_F(AudioFaultPlanTest, AFailedChangeChangesNothing)
{
    service.AddEndpoint({.label = "headset"});
    sim::Timeline::Instance().Clear();
    sim::FaultPlan::Instance().FailAll("IPolicyConfig", E_ACCESSDENIED);
    sim::FaultPlan::Instance().FailAll("IAudioEndpointVolume", E_FAIL);
    const std::wstring headset = service.Id("headset");
    EXPECT_EQ(policyDefault_->SetDefaultEndpoint(headset.c_str(), eConsole), E_ACCESSDENIED);
    EXPECT_EQ(visibility_->SetEndpointVisibility(headset.c_str(), 0), E_ACCESSDENIED);
    EXPECT_EQ(volume_->SetMasterVolumeLevelScalar(0.1F, nullptr), E_FAIL);
    EXPECT_EQ(service.Default(eRender, eConsole), "speaker");
    EXPECT_EQ(service.State("headset"), 1U);
    EXPECT_EQ(service.Volume("speaker"), 1.0F);
    EXPECT_THAT(Told(), ElementsAre("SetDefaultEndpoint headset 0 -> 0x80070005",
                                    "SetEndpointVisibility headset 0 -> 0x80070005",
                                    "SetMasterVolumeLevelScalar speaker 0.1 -> 0x80004005"));
}

TEST_F(AudioFaultPlanTest, ReferencesAreNotEntered)
{
    device_->AddRef();
    device_->Release();
    EXPECT_EQ(sim::FaultPlan::Instance().Calls(""), 0U);
}

} // namespace
