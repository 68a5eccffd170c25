#pragma once

#include "simulator/audio/ComObject.h"
#include "simulator/audio/EndpointModel.h"

#include <windows.h>

#include <mmdeviceapi.h>
#include <propsys.h>

#include <string>
#include <string_view>
#include <vector>

namespace sim
{

/// The properties of an endpoint, open for reading: always the present values. A property without a value, and a key
/// that is not known, read as VT_EMPTY. When the endpoint is removed its calls answer AUDCLNT_E_DEVICE_INVALIDATED.
class PropertyStore final : public ComObject<PropertyStore, IPropertyStore>
{
public:
    static constexpr const char* className = "PropertyStore";
    static constexpr const char* interfaceName = "IPropertyStore";

    explicit PropertyStore(const EndpointPointer& endpoint) : endpoint_(endpoint) {}

    HRESULT STDMETHODCALLTYPE GetCount(DWORD* count) override;
    HRESULT STDMETHODCALLTYPE GetAt(DWORD index, PROPERTYKEY* key) override;
    HRESULT STDMETHODCALLTYPE GetValue(REFPROPERTYKEY key, PROPVARIANT* value) override;
    HRESULT STDMETHODCALLTYPE SetValue(REFPROPERTYKEY key, REFPROPVARIANT value) override;
    HRESULT STDMETHODCALLTYPE Commit() override;

private:
    HRESULT GiveCount(DWORD* count) const;
    HRESULT GiveAt(DWORD index, PROPERTYKEY* key) const;
    HRESULT GiveValue(REFPROPERTYKEY key, PROPVARIANT* value) const;

    std::vector<PROPERTYKEY> KeysWithValue() const;
    std::string Text(std::string_view call) const;

    const EndpointPointer endpoint_;
};

} // namespace sim
