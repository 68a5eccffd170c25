#include "tests/simulator/audio/AudioClient.h"

namespace
{

using testing::ElementsAre;
using testing::Pair;

class DeviceTest : public AudioServiceTest
{
protected:
    static DWORD StateOf(IMMDevice& device)
    {
        DWORD state = 0;
        EXPECT_EQ(device.GetState(&state), S_OK);
        return state;
    }
};

TEST_F(DeviceTest, CollectionChecksItsArguments)
{
    Add("speaker");
    Owned<IMMDeviceCollection> devices;
    ASSERT_EQ(CreateEnumerator()->EnumAudioEndpoints(eAll, 1, devices.Out()), S_OK);
    auto* device = reinterpret_cast<IMMDevice*>(&service);
    EXPECT_EQ(devices->Item(1, &device), E_INVALIDARG);
    EXPECT_EQ(device, nullptr);
    EXPECT_EQ(devices->Item(0, nullptr), E_POINTER);
    EXPECT_EQ(devices->GetCount(nullptr), E_POINTER);
}

TEST_F(DeviceTest, CollectionDoesNotChangeWithTheEndpoints)
{
    Add("speaker");
    Owned<IMMDeviceCollection> devices;
    ASSERT_EQ(CreateEnumerator()->EnumAudioEndpoints(eAll, 1, devices.Out()), S_OK);
    Add("headphones");
    service.RemoveEndpoint("speaker");
    UINT count = 0;
    EXPECT_EQ(devices->GetCount(&count), S_OK);
    EXPECT_EQ(count, 1U);
    Owned<IMMDevice> device;
    EXPECT_EQ(devices->Item(0, device.Out()), S_OK);
    OwnedText id;
    EXPECT_EQ(device->GetId(id.Out()), notFoundResult);
}

TEST_F(DeviceTest, IdsLookLikeThoseOfWindowsAndSortRenderBeforeCapture)
{
    const std::wstring microphone = Add("microphone", eCapture);
    const std::wstring speaker = Add("speaker");
    const std::wstring headphones = Add("headphones");
    EXPECT_EQ(IdOf(*GetDevice("speaker").Get()), speaker);
    EXPECT_EQ(speaker.size(), 55U);
    EXPECT_EQ(speaker.substr(0, 19), L"{0.0.0.00000000}.{0");
    EXPECT_EQ(microphone.substr(0, 19), L"{0.0.1.00000000}.{0");
    EXPECT_LT(speaker, headphones);
    EXPECT_LT(headphones, microphone);
}

TEST_F(DeviceTest, TheIdIsACopyOfTheClients)
{
    Add("speaker");
    const auto device = GetDevice("speaker");
    {
        OwnedText first;
        OwnedText second;
        EXPECT_EQ(device->GetId(first.Out()), S_OK);
        EXPECT_EQ(device->GetId(second.Out()), S_OK);
        EXPECT_NE(*first.Out(), *second.Out());
        EXPECT_EQ(service.LiveMemory(), 2U);
    }
    EXPECT_EQ(service.LiveMemory(), 0U);
}

TEST_F(DeviceTest, TheStateFollowsTheEndpoint)
{
    Add("speaker");
    const auto device = GetDevice("speaker");
    EXPECT_EQ(StateOf(*device.Get()), 1U);
    for (const DWORD state : {2U, 4U, 8U, 1U})
    {
        service.SetState("speaker", state);
        EXPECT_EQ(StateOf(*device.Get()), state);
    }
}

TEST_F(DeviceTest, TheFlowIsAskedOfTheEndpointInterface)
{
    Add("speaker");
    Add("microphone", eCapture);
    for (const auto& [label, expected] : {std::pair("speaker", eRender), std::pair("microphone", eCapture)})
    {
        Owned<IMMEndpoint> endpoint;
        ASSERT_EQ(GetDevice(label)->QueryInterface(endpointInterface, endpoint.OutVoid()), S_OK);
        EDataFlow flow = eAll;
        EXPECT_EQ(endpoint->GetDataFlow(&flow), S_OK);
        EXPECT_EQ(flow, expected);
        EXPECT_EQ(endpoint->GetDataFlow(nullptr), E_POINTER);
    }
}

TEST_F(DeviceTest, BothInterfacesAreOfOneObject)
{
    Add("speaker");
    const auto device = GetDevice("speaker");
    Owned<IMMEndpoint> endpoint;
    ASSERT_EQ(device->QueryInterface(endpointInterface, endpoint.OutVoid()), S_OK);
    EXPECT_THAT(service.LiveObjects(), ElementsAre(Pair("MMDevice", 1)));
    EXPECT_THAT(service.LiveReferences(), ElementsAre(Pair("MMDevice", 2)));
    Owned<IUnknown> ofDevice;
    Owned<IUnknown> ofEndpoint;
    EXPECT_EQ(device->QueryInterface(IID_IUnknown, ofDevice.OutVoid()), S_OK);
    EXPECT_EQ(endpoint->QueryInterface(IID_IUnknown, ofEndpoint.OutVoid()), S_OK);
    EXPECT_EQ(ofDevice.Get(), ofEndpoint.Get());
    void* object = &service;
    EXPECT_EQ(endpoint->QueryInterface(strangeInterface, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
}

TEST_F(DeviceTest, ChecksItsArguments)
{
    Add("speaker");
    const auto device = GetDevice("speaker");
    EXPECT_EQ(device->GetId(nullptr), E_POINTER);
    EXPECT_EQ(device->GetState(nullptr), E_POINTER);
    EXPECT_EQ(device->OpenPropertyStore(STGM_READ, nullptr), E_POINTER);
    auto* store = reinterpret_cast<IPropertyStore*>(&service);
    EXPECT_EQ(device->OpenPropertyStore(STGM_WRITE, &store), E_ACCESSDENIED);
    EXPECT_EQ(store, nullptr);
    EXPECT_EQ(device->OpenPropertyStore(STGM_READWRITE, &store), E_ACCESSDENIED);
    EXPECT_EQ(device->OpenPropertyStore(7, &store), E_INVALIDARG);
}

TEST_F(DeviceTest, ActivateChecksItsArguments)
{
    Add("speaker");
    const auto device = GetDevice("speaker");
    void* object = &service;
    EXPECT_EQ(device->Activate(volumeInterface, CLSCTX_ALL, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(device->Activate(strangeInterface, CLSCTX_ALL, nullptr, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    PROPVARIANT parameters{};
    EXPECT_EQ(device->Activate(volumeInterface, CLSCTX_ALL, &parameters, &object), E_INVALIDARG);
}

TEST_F(DeviceTest, OnlyAnActiveEndpointIsActivated)
{
    Add("speaker");
    const auto device = GetDevice("speaker");
    for (const DWORD state : {2U, 4U, 8U})
    {
        service.SetState("speaker", state);
        void* object = &service;
        EXPECT_EQ(device->Activate(volumeInterface, CLSCTX_ALL, nullptr, &object), invalidatedResult);
        EXPECT_EQ(object, nullptr);
    }
}

TEST_F(DeviceTest, ADeviceWhoseEndpointIsRemovedAnswersFailures)
{
    Add("speaker");
    const auto device = GetDevice("speaker");
    Owned<IMMEndpoint> endpoint;
    ASSERT_EQ(device->QueryInterface(endpointInterface, endpoint.OutVoid()), S_OK);
    const std::wstring id = service.Id("speaker");
    service.RemoveEndpoint("speaker");

    LPWSTR text = const_cast<LPWSTR>(L"x");
    EXPECT_EQ(device->GetId(&text), notFoundResult);
    EXPECT_EQ(text, nullptr);
    DWORD state = 77;
    EXPECT_EQ(device->GetState(&state), notFoundResult);
    EXPECT_EQ(state, 0U);
    Owned<IPropertyStore> store;
    EXPECT_EQ(device->OpenPropertyStore(STGM_READ, store.Out()), notFoundResult);
    EDataFlow flow = eRender;
    EXPECT_EQ(endpoint->GetDataFlow(&flow), notFoundResult);
    void* object = nullptr;
    EXPECT_EQ(device->Activate(volumeInterface, CLSCTX_ALL, nullptr, &object), invalidatedResult);
    Owned<IMMDevice> again;
    EXPECT_EQ(CreateEnumerator()->GetDevice(id.c_str(), again.Out()), notFoundResult);
}

} // namespace
