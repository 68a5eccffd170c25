#pragma once

#include <windows.h>

#include <mmdeviceapi.h>
#include <objbase.h>
#include <propsys.h>

#include <atomic>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace test
{

/// Objects of these classes that are alive.
inline std::atomic<int> liveFakes = 0;

/// A text or a GUID in memory of COM, as platform calls give it.
inline void* TaskCopy(const void* bytes, std::size_t size)
{
    return std::memcpy(CoTaskMemAlloc(size), bytes, size);
}

/// Base of COM objects that answer as a test says. An object begins with one reference.
template <typename... Interfaces> class Fake : public Interfaces...
{
public:
    Fake() { ++liveFakes; }
    virtual ~Fake() { --liveFakes; }
    Fake(const Fake&) = delete;
    Fake& operator=(const Fake&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override
    {
        *object = nullptr;
        ((*object = IsEqualIID(riid, __uuidof(Interfaces)) ? static_cast<Interfaces*>(this) : *object), ...);
        if (*object == nullptr)
        {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --references_;
        if (left == 0)
        {
            delete this;
        }
        return left;
    }

private:
    std::atomic<ULONG> references_ = 1;
};

/// Gives one value, whatever key it is asked for, and remembers the keys.
class FakeProperties : public Fake<IPropertyStore>
{
public:
    HRESULT result = S_OK;
    VARTYPE type = VT_EMPTY; // VT_CLSID, VT_LPWSTR or VT_UI4; anything else: no value
    GUID guid = {};
    std::wstring text;
    std::vector<PROPERTYKEY> asked;

    HRESULT STDMETHODCALLTYPE GetCount(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetAt(DWORD, PROPERTYKEY*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetValue(REFPROPERTYKEY key, PROPVARIANT* value) override
    {
        asked.push_back(key);
        value->vt = type;
        if (type == VT_CLSID)
        {
            value->puuid = static_cast<GUID*>(TaskCopy(&guid, sizeof guid));
        }
        else if (type == VT_LPWSTR)
        {
            value->pwszVal = static_cast<wchar_t*>(TaskCopy(text.c_str(), (text.size() + 1) * sizeof(wchar_t)));
        }
        return result;
    }
    HRESULT STDMETHODCALLTYPE SetValue(REFPROPERTYKEY, REFPROPVARIANT) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Commit() override { return E_NOTIMPL; }
};

/// What a FakeDevice tells.
struct FakeEndpoint
{
    std::wstring id;
    DWORD state = DEVICE_STATE_ACTIVE;
    int flow = eRender;
    VARTYPE nameType = VT_LPWSTR; // type of every property's value
    std::wstring name = {};
    HRESULT idResult = S_OK; // a call gives its value also when it fails
    HRESULT stateResult = S_OK;
    HRESULT nameResult = S_OK; // of every property
};

class FakeDevice : public Fake<IMMDevice, IMMEndpoint>
{
public:
    explicit FakeDevice(FakeEndpoint endpoint) : endpoint_(std::move(endpoint)) {}

    HRESULT STDMETHODCALLTYPE Activate(REFIID, DWORD, PROPVARIANT*, void**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD, IPropertyStore** store) override
    {
        auto* const properties = new FakeProperties();
        properties->type = endpoint_.nameType;
        properties->text = endpoint_.name;
        properties->result = endpoint_.nameResult;
        *store = properties;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) override
    {
        *id = static_cast<wchar_t*>(TaskCopy(endpoint_.id.c_str(), (endpoint_.id.size() + 1) * sizeof(wchar_t)));
        return endpoint_.idResult;
    }
    HRESULT STDMETHODCALLTYPE GetState(DWORD* state) override
    {
        *state = endpoint_.state;
        return endpoint_.stateResult;
    }
    HRESULT STDMETHODCALLTYPE GetDataFlow(EDataFlow* flow) override
    {
        *flow = static_cast<EDataFlow>(endpoint_.flow);
        return S_OK;
    }

private:
    const FakeEndpoint endpoint_;
};

class FakeCollection : public Fake<IMMDeviceCollection>
{
public:
    explicit FakeCollection(std::vector<FakeEndpoint> endpoints) : endpoints_(std::move(endpoints)) {}

    HRESULT STDMETHODCALLTYPE GetCount(UINT* count) override
    {
        *count = static_cast<UINT>(endpoints_.size());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Item(UINT index, IMMDevice** device) override
    {
        *device = new FakeDevice(endpoints_.at(index));
        return S_OK;
    }

private:
    const std::vector<FakeEndpoint> endpoints_;
};

/// Lists endpoints that the simulated service would refuse; the first is every default.
class FakeEnumerator : public Fake<IMMDeviceEnumerator>
{
public:
    HRESULT defaultResult = S_OK; // the default is given also when this is a failure

    explicit FakeEnumerator(std::vector<FakeEndpoint> endpoints) : endpoints_(std::move(endpoints)) {}

    HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow, DWORD, IMMDeviceCollection** devices) override
    {
        *devices = new FakeCollection(endpoints_);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetDefaultAudioEndpoint(EDataFlow, ERole, IMMDevice** device) override
    {
        *device = new FakeDevice(endpoints_.at(0));
        return defaultResult;
    }
    HRESULT STDMETHODCALLTYPE GetDevice(LPCWSTR, IMMDevice** device) override
    {
        *device = nullptr;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE RegisterEndpointNotificationCallback(IMMNotificationClient*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE UnregisterEndpointNotificationCallback(IMMNotificationClient*) override
    {
        return E_NOTIMPL;
    }

private:
    const std::vector<FakeEndpoint> endpoints_;
};

} // namespace test
