#pragma once

#include "simulator/audio/AudioService.h"
#include "simulator/audio/PolicyConfigInterfaces.h"
#include "simulator/timeline/FaultPlan.h"
#include "simulator/timeline/Timeline.h"

#include <windows.h>

#include <endpointvolume.h>
#include <gmock/gmock.h>
#include <mmdeviceapi.h>
#include <objbase.h>
#include <propsys.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// What a client of the audio service needs: it works through COM alone.

using namespace std::chrono_literals;

inline constexpr std::chrono::milliseconds longWait = 60s;

inline constexpr HRESULT notFoundResult = static_cast<HRESULT>(0x80070490);
inline constexpr HRESULT invalidatedResult = static_cast<HRESULT>(0x88890004);

inline constexpr CLSID enumeratorClass = {0xBCDE0395, 0xE52F, 0x467C, {0x8E, 0x3D, 0xC4, 0x57, 0x92, 0x91, 0x69, 0x2E}};
inline constexpr CLSID policyDefaultClass = {
    0x294935CE, 0xF637, 0x4E7C, {0xA4, 0x1B, 0xAB, 0x25, 0x54, 0x60, 0xB8, 0x62}};
inline constexpr CLSID policyVisibilityClass = {
    0x870AF99C, 0x171D, 0x4F9E, {0xAF, 0x0D, 0xE6, 0x3D, 0xF4, 0x0C, 0x2B, 0xC9}};

inline constexpr IID enumeratorInterface = {
    0xA95664D2, 0x9614, 0x4F35, {0xA7, 0x46, 0xDE, 0x8D, 0xB6, 0x36, 0x17, 0xE6}};
inline constexpr IID policyDefaultInterface = {
    0x568B9108, 0x44BF, 0x40B4, {0x90, 0x06, 0x86, 0xAF, 0xE5, 0xB5, 0xA6, 0x20}};
inline constexpr IID policyVisibilityInterface = {
    0xF8679F50, 0x850A, 0x41CF, {0x9C, 0x72, 0x43, 0x0F, 0x29, 0x02, 0x90, 0xC8}};
inline constexpr IID endpointInterface = {0x1BE09788, 0x6894, 0x4089, {0x85, 0x86, 0x9A, 0x2A, 0x6C, 0x26, 0x5A, 0xC5}};
inline constexpr IID volumeInterface = {0x5CDF2C82, 0x841E, 0x4546, {0x97, 0x22, 0x0C, 0xF7, 0x40, 0x78, 0x22, 0x9A}};
inline constexpr IID strangeInterface = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};

inline constexpr PROPERTYKEY nameKey = {{0xA45C254E, 0xDF1C, 0x4EFD, {0x80, 0x20, 0x67, 0xD1, 0x46, 0xA8, 0x50, 0xE0}},
                                        14};
inline constexpr PROPERTYKEY containerKey = {
    {0x8C7ED206, 0x3F8A, 0x4827, {0xB3, 0xAB, 0xAE, 0x9E, 0x1F, 0xAE, 0xFC, 0x6C}}, 2};

/// Owns one reference.
template <class Interface> class Owned
{
public:
    Owned() = default;
    Owned(Owned&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    Owned& operator=(Owned&& other) noexcept
    {
        std::swap(pointer_, other.pointer_);
        return *this;
    }
    ~Owned() { Reset(); }

    void Reset()
    {
        if (pointer_ != nullptr)
        {
            std::exchange(pointer_, nullptr)->Release();
        }
    }
    Interface* Get() const { return pointer_; }
    Interface* operator->() const { return pointer_; }
    explicit operator bool() const { return pointer_ != nullptr; }

    /// For an out-parameter.
    Interface** Out()
    {
        Reset();
        return &pointer_;
    }
    void** OutVoid() { return reinterpret_cast<void**>(Out()); }

private:
    Interface* pointer_ = nullptr;
};

/// A text of a client, freed as clients do.
class OwnedText
{
public:
    OwnedText() = default;
    ~OwnedText() { CoTaskMemFree(text_); }
    OwnedText(const OwnedText&) = delete;
    OwnedText& operator=(const OwnedText&) = delete;

    LPWSTR* Out() { return &text_; }
    std::wstring Text() const { return text_ != nullptr ? text_ : L"(null)"; }

private:
    LPWSTR text_ = nullptr;
};

/// A property value of a client, freed as clients do.
class OwnedValue
{
public:
    OwnedValue() { PropVariantInit(&value_); }
    ~OwnedValue() { PropVariantClear(&value_); }
    OwnedValue(const OwnedValue&) = delete;
    OwnedValue& operator=(const OwnedValue&) = delete;

    PROPVARIANT* Out() { return &value_; }
    const PROPVARIANT& Get() const { return value_; }

private:
    PROPVARIANT value_;
};

/// Is in an apartment while it lives.
class Apartment
{
public:
    explicit Apartment(DWORD model) : result_(CoInitializeEx(nullptr, model)) {}
    ~Apartment()
    {
        if (SUCCEEDED(result_))
        {
            CoUninitialize();
        }
    }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;

private:
    const HRESULT result_;
};

template <class Interface> Owned<Interface> Create(REFCLSID classId, REFIID interfaceId)
{
    Owned<Interface> object;
    EXPECT_EQ(CoCreateInstance(classId, nullptr, CLSCTX_ALL, interfaceId, object.OutVoid()), S_OK);
    return object;
}

inline Owned<IMMDeviceEnumerator> CreateEnumerator()
{
    return Create<IMMDeviceEnumerator>(enumeratorClass, enumeratorInterface);
}

inline Owned<IPolicyConfigDefault> CreatePolicyDefault()
{
    return Create<IPolicyConfigDefault>(policyDefaultClass, policyDefaultInterface);
}

inline Owned<IPolicyConfigVisibility> CreatePolicyVisibility()
{
    return Create<IPolicyConfigVisibility>(policyVisibilityClass, policyVisibilityInterface);
}

inline Owned<IMMDevice> GetDevice(const std::string& label)
{
    Owned<IMMDevice> device;
    const std::wstring id = sim::AudioService::Instance().Id(label);
    EXPECT_EQ(CreateEnumerator()->GetDevice(id.c_str(), device.Out()), S_OK);
    return device;
}

inline std::wstring IdOf(IMMDevice& device)
{
    OwnedText id;
    EXPECT_EQ(device.GetId(id.Out()), S_OK);
    return id.Text();
}

/// The id of the default endpoint as a client sees it; "none" when the service answers that there is none.
inline std::wstring DefaultId(EDataFlow flow, ERole role)
{
    Owned<IMMDevice> device;
    const HRESULT result = CreateEnumerator()->GetDefaultAudioEndpoint(flow, role, device.Out());
    if (result == notFoundResult)
    {
        return L"none";
    }
    EXPECT_EQ(result, S_OK);
    return IdOf(*device.Get());
}

/// A notification client that remembers what it was told. It counts references but is never freed by them.
class RecordingClient : public IMMNotificationClient
{
public:
    struct Event
    {
        std::string what; // such as "default 0 2" or "state 8"
        std::wstring id;  // "(null)" for null
        DWORD thread;
    };

    /// Called within each notification, before it is remembered.
    std::function<void()> hook;
    HRESULT result = S_OK;

    std::vector<std::pair<std::string, std::wstring>> Events() const
    {
        const std::scoped_lock lock(mutex_);
        std::vector<std::pair<std::string, std::wstring>> events;
        for (const Event& event : events_)
        {
            events.emplace_back(event.what, event.id);
        }
        return events;
    }

    std::vector<DWORD> Threads() const
    {
        const std::scoped_lock lock(mutex_);
        std::vector<DWORD> threads;
        for (const Event& event : events_)
        {
            threads.push_back(event.thread);
        }
        return threads;
    }

    bool WaitForEvents(std::size_t count) const
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, longWait, [&] { return events_.size() >= count; });
    }

    std::size_t Count() const
    {
        const std::scoped_lock lock(mutex_);
        return events_.size();
    }

    ULONG References() const { return references_; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override { return --references_; }

    HRESULT STDMETHODCALLTYPE OnDeviceStateChanged(LPCWSTR id, DWORD state) override
    {
        return Remember("state " + std::to_string(state), id);
    }
    HRESULT STDMETHODCALLTYPE OnDeviceAdded(LPCWSTR id) override { return Remember("added", id); }
    HRESULT STDMETHODCALLTYPE OnDeviceRemoved(LPCWSTR id) override { return Remember("removed", id); }
    HRESULT STDMETHODCALLTYPE OnDefaultDeviceChanged(EDataFlow flow, ERole role, LPCWSTR id) override
    {
        return Remember("default " + std::to_string(flow) + " " + std::to_string(role), id);
    }
    HRESULT STDMETHODCALLTYPE OnPropertyValueChanged(LPCWSTR id, const PROPERTYKEY key) override
    {
        return Remember("property " + std::to_string(key.pid), id);
    }

private:
    HRESULT Remember(const std::string& what, LPCWSTR id)
    {
        if (hook)
        {
            hook();
        }
        const std::scoped_lock lock(mutex_);
        events_.push_back({what, id != nullptr ? id : L"(null)", GetCurrentThreadId()});
        changed_.notify_all();
        return result;
    }

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::vector<Event> events_; // guarded by mutex_
    std::atomic<ULONG> references_ = 1;
};

/// Registers a client while it lives.
class Registered
{
public:
    explicit Registered(IMMNotificationClient& client) : client_(client), enumerator_(CreateEnumerator())
    {
        EXPECT_EQ(enumerator_->RegisterEndpointNotificationCallback(&client_), S_OK);
    }
    ~Registered() { enumerator_->UnregisterEndpointNotificationCallback(&client_); }
    Registered(const Registered&) = delete;
    Registered& operator=(const Registered&) = delete;

private:
    IMMNotificationClient& client_;
    const Owned<IMMDeviceEnumerator> enumerator_;
};

/// A service without endpoints, in the multithreaded apartment; at the end nothing that it gave out may be left.
class AudioServiceTest : public testing::Test
{
protected:
    explicit AudioServiceTest(DWORD apartment = COINIT_MULTITHREADED) : apartment_(apartment)
    {
        service.Reset();
        sim::Timeline::Instance().Clear();
        sim::FaultPlan::Instance().Clear();
    }

    ~AudioServiceTest() override
    {
        EXPECT_THAT(service.LiveObjects(), testing::IsEmpty());
        EXPECT_THAT(service.LiveReferences(), testing::IsEmpty());
        EXPECT_EQ(service.LiveMemory(), 0U);
        service.Reset();
    }

    std::wstring Add(const std::string& label, EDataFlow flow = eRender)
    {
        return service.AddEndpoint({.label = label, .flow = flow});
    }

    void WaitForIdle() const { EXPECT_TRUE(service.WaitForIdle(longWait)); }

    std::vector<std::string> Told(const char* who = "audio") const { return sim::Timeline::Instance().Texts(who); }

    sim::AudioService& service = sim::AudioService::Instance();

private:
    const Apartment apartment_;
};

/// The same in both kinds of apartments.
class AudioServiceInApartmentTest : public AudioServiceTest, public testing::WithParamInterface<DWORD>
{
protected:
    AudioServiceInApartmentTest() : AudioServiceTest(GetParam()) {}
};
