#include "tests/simulator/audio/AudioClient.h"

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class EnumeratorTest : public AudioServiceTest
{
protected:
    /// The ids of an enumeration, in its order.
    std::vector<std::wstring> Enumerate(EDataFlow flow, DWORD mask) const
    {
        Owned<IMMDeviceCollection> devices;
        EXPECT_EQ(enumerator_->EnumAudioEndpoints(flow, mask, devices.Out()), S_OK);
        UINT count = 0;
        EXPECT_EQ(devices->GetCount(&count), S_OK);
        std::vector<std::wstring> ids;
        for (UINT index = 0; index < count; ++index)
        {
            Owned<IMMDevice> device;
            EXPECT_EQ(devices->Item(index, device.Out()), S_OK);
            ids.push_back(IdOf(*device.Get()));
        }
        return ids;
    }

    HRESULT TryEnumerate(int flow, DWORD mask) const
    {
        auto* devices = reinterpret_cast<IMMDeviceCollection*>(&service);
        const HRESULT result = enumerator_->EnumAudioEndpoints(static_cast<EDataFlow>(flow), mask, &devices);
        EXPECT_EQ(devices, nullptr);
        return result;
    }

    HRESULT TryDefault(int flow, int role) const
    {
        auto* device = reinterpret_cast<IMMDevice*>(&service);
        const HRESULT result =
            enumerator_->GetDefaultAudioEndpoint(static_cast<EDataFlow>(flow), static_cast<ERole>(role), &device);
        EXPECT_EQ(device, nullptr);
        return result;
    }

    HRESULT TryDevice(const wchar_t* id) const
    {
        auto* device = reinterpret_cast<IMMDevice*>(&service);
        const HRESULT result = enumerator_->GetDevice(id, &device);
        EXPECT_EQ(device, nullptr);
        return result;
    }

    const Owned<IMMDeviceEnumerator> enumerator_ = CreateEnumerator();
};

TEST_F(EnumeratorTest, ListsNothingWhenThereIsNothing)
{
    EXPECT_THAT(Enumerate(eAll, 15), IsEmpty());
}

TEST_F(EnumeratorTest, ListsTheFlowThatIsAskedFor)
{
    const std::wstring speaker = Add("speaker");
    const std::wstring microphone = Add("microphone", eCapture);
    const std::wstring headphones = Add("headphones");
    EXPECT_THAT(Enumerate(eRender, 15), ElementsAre(speaker, headphones));
    EXPECT_THAT(Enumerate(eCapture, 15), ElementsAre(microphone));
    EXPECT_THAT(Enumerate(eAll, 15), ElementsAre(speaker, microphone, headphones));
}

TEST_F(EnumeratorTest, ListsTheStatesOfTheMask)
{
    const std::wstring active = Add("active");
    const std::wstring disabled = Add("disabled");
    const std::wstring notPresent = Add("not present");
    const std::wstring unplugged = Add("unplugged");
    service.SetState("disabled", 2);
    service.SetState("not present", 4);
    service.SetState("unplugged", 8);
    EXPECT_THAT(Enumerate(eAll, 1), ElementsAre(active));
    EXPECT_THAT(Enumerate(eAll, 2), ElementsAre(disabled));
    EXPECT_THAT(Enumerate(eAll, 4), ElementsAre(notPresent));
    EXPECT_THAT(Enumerate(eAll, 8), ElementsAre(unplugged));
    EXPECT_THAT(Enumerate(eAll, 11), ElementsAre(active, disabled, unplugged));
}

TEST_F(EnumeratorTest, ChecksTheArgumentsOfAnEnumeration)
{
    EXPECT_EQ(TryEnumerate(-1, 1), E_INVALIDARG);
    EXPECT_EQ(TryEnumerate(3, 1), E_INVALIDARG);
    EXPECT_EQ(TryEnumerate(2, 0), E_INVALIDARG);
    EXPECT_EQ(TryEnumerate(2, 16), E_INVALIDARG);
    EXPECT_EQ(TryEnumerate(2, 17), E_INVALIDARG);
    EXPECT_EQ(enumerator_->EnumAudioEndpoints(eAll, 1, nullptr), E_POINTER);
}

TEST_F(EnumeratorTest, ChecksTheArgumentsOfADefault)
{
    Add("speaker");
    EXPECT_EQ(TryDefault(2, 0), E_INVALIDARG) << "eAll";
    EXPECT_EQ(TryDefault(-1, 0), E_INVALIDARG);
    EXPECT_EQ(TryDefault(0, 3), E_INVALIDARG);
    EXPECT_EQ(TryDefault(0, -1), E_INVALIDARG);
    EXPECT_EQ(enumerator_->GetDefaultAudioEndpoint(eRender, eConsole, nullptr), E_POINTER);
}

TEST_F(EnumeratorTest, AnswersThatThereIsNoDefault)
{
    Add("speaker");
    EXPECT_EQ(TryDefault(1, 0), notFoundResult);
    EXPECT_EQ(DefaultId(eRender, eConsole), service.Id("speaker"));
}

TEST_F(EnumeratorTest, FindsADeviceByItsIdInWhateverState)
{
    Add("speaker");
    Add("headphones");
    service.SetState("headphones", 4);
    Owned<IMMDevice> device;
    ASSERT_EQ(enumerator_->GetDevice(service.Id("headphones").c_str(), device.Out()), S_OK);
    EXPECT_EQ(IdOf(*device.Get()), service.Id("headphones"));
}

TEST_F(EnumeratorTest, ChecksTheArgumentsOfADevice)
{
    Add("speaker");
    EXPECT_EQ(TryDevice(nullptr), E_POINTER);
    EXPECT_EQ(enumerator_->GetDevice(service.Id("speaker").c_str(), nullptr), E_POINTER);
    EXPECT_EQ(TryDevice(L""), E_INVALIDARG);
    EXPECT_EQ(TryDevice(L"speaker"), E_INVALIDARG);
    EXPECT_EQ(TryDevice(L"{0.0.2.00000000}.{11111111-2222-3333-4444-555555555555}"), E_INVALIDARG);
    EXPECT_EQ(TryDevice(L"{0.0.0.00000000}.{11111111-2222-3333-4444-55555555555g}"), E_INVALIDARG);
    EXPECT_EQ(TryDevice(L"{0.0.0.00000000}.{11111111-2222-3333-4444-555555555555} "), E_INVALIDARG);
    EXPECT_EQ(TryDevice(L"{0.0.0.00000000}.{11111111-2222-3333-4444-555555555555}"), notFoundResult);
}

TEST_F(EnumeratorTest, ChecksTheArgumentsOfARegistration)
{
    RecordingClient client;
    EXPECT_EQ(enumerator_->RegisterEndpointNotificationCallback(nullptr), E_POINTER);
    EXPECT_EQ(enumerator_->UnregisterEndpointNotificationCallback(nullptr), E_POINTER);
    EXPECT_EQ(enumerator_->UnregisterEndpointNotificationCallback(&client), notFoundResult);
    EXPECT_EQ(enumerator_->RegisterEndpointNotificationCallback(&client), S_OK);
    EXPECT_EQ(enumerator_->UnregisterEndpointNotificationCallback(&client), S_OK);
    EXPECT_EQ(enumerator_->UnregisterEndpointNotificationCallback(&client), notFoundResult);
    EXPECT_THAT(Told(), ElementsAre("CoCreateInstance MMDeviceEnumerator -> 0x00000000",
                                    "RegisterEndpointNotificationCallback -> 0x80004003",
                                    "UnregisterEndpointNotificationCallback -> 0x80004003",
                                    "UnregisterEndpointNotificationCallback -> 0x80070490",
                                    "RegisterEndpointNotificationCallback -> 0x00000000",
                                    "UnregisterEndpointNotificationCallback -> 0x00000000",
                                    "UnregisterEndpointNotificationCallback -> 0x80070490"));
}

TEST_F(EnumeratorTest, ReadingIsToldOnlyWhenVerbose)
{
    Add("speaker");
    Enumerate(eRender, 1);
    EXPECT_THAT(Told(), ElementsAre("CoCreateInstance MMDeviceEnumerator -> 0x00000000"));

    service.SetVerbose(true);
    sim::Timeline::Instance().Clear();
    Enumerate(eRender, 1);
    TryDefault(1, 2);
    TryDevice(L"{0.0.0.00000000}.{11111111-2222-3333-4444-555555555555}");
    EXPECT_THAT(Told(),
                ElementsAre("EnumAudioEndpoints 0 1 -> 0x00000000", "GetCount -> 0x00000000", "Item 0 -> 0x00000000",
                            "GetId speaker -> 0x00000000", "GetDefaultAudioEndpoint 1 2 -> 0x80070490",
                            "GetDevice {0.0.0.00000000}.{11111111-2222-3333-4444-555555555555} -> 0x80070490"));
}

TEST_F(EnumeratorTest, IsAskedForInterfacesAsUsual)
{
    Owned<IUnknown> unknown;
    EXPECT_EQ(enumerator_->QueryInterface(IID_IUnknown, unknown.OutVoid()), S_OK);
    Owned<IMMDeviceEnumerator> same;
    EXPECT_EQ(unknown->QueryInterface(enumeratorInterface, same.OutVoid()), S_OK);
    EXPECT_EQ(same.Get(), enumerator_.Get());
    void* object = &service;
    EXPECT_EQ(enumerator_->QueryInterface(strangeInterface, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(enumerator_->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

} // namespace
