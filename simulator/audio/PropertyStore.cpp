#include "simulator/audio/PropertyStore.h"

#include "simulator/audio/AudioIdentifiers.h"
#include "simulator/audio/ComCall.h"
#include "simulator/audio/ServiceCore.h"
#include "simulator/audio/TaskMemory.h"

namespace sim
{

namespace
{

bool SameKey(REFPROPERTYKEY one, REFPROPERTYKEY other)
{
    return one.pid == other.pid && IsEqualGUID(one.fmtid, other.fmtid);
}

HRESULT PutText(std::wstring_view text, PROPVARIANT& value)
{
    value.pwszVal = CopyText(text);
    value.vt = value.pwszVal != nullptr ? VT_LPWSTR : VT_EMPTY;
    return value.pwszVal != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT PutGuid(const GUID& guid, PROPVARIANT& value)
{
    value.puuid = CopyGuid(guid);
    value.vt = value.puuid != nullptr ? VT_CLSID : VT_EMPTY;
    return value.puuid != nullptr ? S_OK : E_OUTOFMEMORY;
}

} // namespace

HRESULT PropertyStore::GetCount(DWORD* count)
{
    ClearOut(count);
    return TellRead(Text("GetCount"), EnterCall("IPropertyStore::GetCount", [&] { return GiveCount(count); }));
}

HRESULT PropertyStore::GetAt(DWORD index, PROPERTYKEY* key)
{
    ClearOut(key);
    return TellRead(Text("GetAt"), EnterCall("IPropertyStore::GetAt", [&] { return GiveAt(index, key); }));
}

HRESULT PropertyStore::GetValue(REFPROPERTYKEY key, PROPVARIANT* value)
{
    ClearOut(value);
    return TellRead(Text("GetValue"), EnterCall("IPropertyStore::GetValue", [&] { return GiveValue(key, value); }));
}

HRESULT PropertyStore::SetValue(REFPROPERTYKEY, REFPROPVARIANT)
{
    return TellCall(Text("SetValue"), EnterCall("IPropertyStore::SetValue", [] { return STG_E_ACCESSDENIED; }));
}

HRESULT PropertyStore::Commit()
{
    return TellCall(Text("Commit"), EnterCall("IPropertyStore::Commit", [] { return STG_E_ACCESSDENIED; }));
}

HRESULT PropertyStore::GiveCount(DWORD* count) const
{
    if (count == nullptr)
    {
        return E_POINTER;
    }
    return ServiceCore::Instance().Read(
        [&](const EndpointModel&)
        {
            *count = static_cast<DWORD>(KeysWithValue().size());
            return endpoint_->removed ? deviceInvalidated : S_OK;
        });
}

HRESULT PropertyStore::GiveAt(DWORD index, PROPERTYKEY* key) const
{
    if (key == nullptr)
    {
        return E_POINTER;
    }
    return ServiceCore::Instance().Read(
        [&](const EndpointModel&)
        {
            const std::vector<PROPERTYKEY> keys = KeysWithValue();
            if (endpoint_->removed)
            {
                return deviceInvalidated;
            }
            if (index >= keys.size())
            {
                return E_INVALIDARG;
            }
            *key = keys[index];
            return S_OK;
        });
}

HRESULT PropertyStore::GiveValue(REFPROPERTYKEY key, PROPVARIANT* value) const
{
    if (value == nullptr)
    {
        return E_POINTER;
    }
    return ServiceCore::Instance().Read(
        [&](const EndpointModel&)
        {
            if (endpoint_->removed)
            {
                return deviceInvalidated;
            }
            if (SameKey(key, friendlyNameKey) && !endpoint_->friendlyName.empty())
            {
                return PutText(endpoint_->friendlyName, *value);
            }
            if (SameKey(key, containerIdKey) && endpoint_->containerId)
            {
                return PutGuid(*endpoint_->containerId, *value);
            }
            return S_OK;
        });
}

/// With the service's lock held; none of a removed endpoint.
std::vector<PROPERTYKEY> PropertyStore::KeysWithValue() const
{
    std::vector<PROPERTYKEY> keys;
    if (!endpoint_->removed && !endpoint_->friendlyName.empty())
    {
        keys.push_back(friendlyNameKey);
    }
    if (!endpoint_->removed && endpoint_->containerId)
    {
        keys.push_back(containerIdKey);
    }
    return keys;
}

std::string PropertyStore::Text(std::string_view call) const
{
    return std::string(call) + " " + endpoint_->label;
}

} // namespace sim
