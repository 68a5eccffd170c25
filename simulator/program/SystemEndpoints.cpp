#include "simulator/program/SystemEndpoints.h"

#include "simulator/audio/AudioIdentifiers.h"
#include "simulator/program/ScenarioFailure.h"
#include "simulator/timeline/Timeline.h"

#include <endpointvolume.h>
#include <objbase.h>
#include <propidl.h>
#include <propsys.h>

#include <cstdio>
#include <future>
#include <memory>

namespace sim
{

namespace
{

struct ReleaseObject
{
    void operator()(IUnknown* object) const { object->Release(); }
};
template <typename Interface> using Owned = std::unique_ptr<Interface, ReleaseObject>;

struct FreeMemory
{
    void operator()(wchar_t* text) const { CoTaskMemFree(text); }
};

class Apartment
{
public:
    Apartment() : entered_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}
    ~Apartment()
    {
        if (entered_)
        {
            CoUninitialize();
        }
    }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;

private:
    const bool entered_;
};

class PropertyValue
{
public:
    PropertyValue() { PropVariantInit(&value_); }
    ~PropertyValue() { PropVariantClear(&value_); }
    PropertyValue(const PropertyValue&) = delete;
    PropertyValue& operator=(const PropertyValue&) = delete;

    PROPVARIANT* Out() { return &value_; }
    std::string Text() const
    {
        return value_.vt == VT_LPWSTR && value_.pwszVal != nullptr ? ToUtf8(value_.pwszVal) : std::string();
    }

private:
    PROPVARIANT value_;
};

void Check(HRESULT result, const char* call)
{
    if (FAILED(result))
    {
        char number[16];
        std::snprintf(number, sizeof number, "0x%08lX", static_cast<unsigned long>(result));
        throw ScenarioFailure(std::string("the computer's audio service answers to ") + call + ": " + number);
    }
}

Owned<IMMDeviceEnumerator> MakeEnumerator()
{
    void* made = nullptr;
    Check(CoCreateInstance(deviceEnumeratorClass, nullptr, CLSCTX_ALL, __uuidof(IMMDeviceEnumerator), &made),
          "CoCreateInstance");
    return Owned<IMMDeviceEnumerator>(static_cast<IMMDeviceEnumerator*>(made));
}

std::wstring IdOf(IMMDevice& device)
{
    wchar_t* id = nullptr;
    Check(device.GetId(&id), "GetId");
    const std::unique_ptr<wchar_t, FreeMemory> owned(id);
    return owned.get();
}

std::string NameOf(IMMDevice& device)
{
    IPropertyStore* opened = nullptr;
    if (FAILED(device.OpenPropertyStore(STGM_READ, &opened)))
    {
        return {};
    }
    const Owned<IPropertyStore> store(opened);
    PropertyValue value;
    return SUCCEEDED(store->GetValue(friendlyNameKey, value.Out())) ? value.Text() : std::string();
}

/// Work on a thread that is in the multithreaded apartment.
template <typename Work> auto InApartment(Work work)
{
    return std::async(std::launch::async,
                      [&work]
                      {
                          const Apartment apartment;
                          return work();
                      })
        .get();
}

void AddOf(IMMDeviceEnumerator& enumerator, EDataFlow flow, std::vector<SystemEndpoint>& endpoints)
{
    IMMDeviceCollection* listed = nullptr;
    Check(enumerator.EnumAudioEndpoints(flow, DEVICE_STATEMASK_ALL, &listed), "EnumAudioEndpoints");
    const Owned<IMMDeviceCollection> collection(listed);
    UINT count = 0;
    Check(collection->GetCount(&count), "GetCount");
    for (UINT at = 0; at < count; ++at)
    {
        IMMDevice* item = nullptr;
        Check(collection->Item(at, &item), "Item");
        const Owned<IMMDevice> device(item);
        DWORD state = 0;
        Check(device->GetState(&state), "GetState");
        endpoints.push_back({IdOf(*device), NameOf(*device), flow, state});
    }
}

} // namespace

std::vector<SystemEndpoint> SystemEndpoints::All()
{
    return InApartment(
        []
        {
            const Owned<IMMDeviceEnumerator> enumerator = MakeEnumerator();
            std::vector<SystemEndpoint> endpoints;
            AddOf(*enumerator, eRender, endpoints);
            AddOf(*enumerator, eCapture, endpoints);
            return endpoints;
        });
}

std::optional<std::wstring> SystemEndpoints::Default(EDataFlow flow, ERole role)
{
    return InApartment(
        [=]() -> std::optional<std::wstring>
        {
            const Owned<IMMDeviceEnumerator> enumerator = MakeEnumerator();
            IMMDevice* found = nullptr;
            if (FAILED(enumerator->GetDefaultAudioEndpoint(flow, role, &found)))
            {
                return std::nullopt;
            }
            const Owned<IMMDevice> device(found);
            return IdOf(*device);
        });
}

std::optional<float> SystemEndpoints::Volume(const std::wstring& id)
{
    return InApartment(
        [&id]() -> std::optional<float>
        {
            const Owned<IMMDeviceEnumerator> enumerator = MakeEnumerator();
            IMMDevice* found = nullptr;
            if (FAILED(enumerator->GetDevice(id.c_str(), &found)))
            {
                return std::nullopt;
            }
            const Owned<IMMDevice> device(found);
            void* activated = nullptr;
            if (FAILED(device->Activate(__uuidof(IAudioEndpointVolume), CLSCTX_ALL, nullptr, &activated)))
            {
                return std::nullopt;
            }
            const Owned<IAudioEndpointVolume> volume(static_cast<IAudioEndpointVolume*>(activated));
            float level = 0;
            return SUCCEEDED(volume->GetMasterVolumeLevelScalar(&level)) ? std::optional(level) : std::nullopt;
        });
}

} // namespace sim
