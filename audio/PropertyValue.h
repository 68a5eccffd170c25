#pragma once

#include <windows.h>

#include <objbase.h>
#include <propidl.h>

/// Owns one property value that a COM call filled.
class PropertyValue
{
public:
    PropertyValue() { PropVariantInit(&value_); }
    ~PropertyValue() { PropVariantClear(&value_); }
    PropertyValue(const PropertyValue&) = delete;
    PropertyValue& operator=(const PropertyValue&) = delete;

    /// Where a call puts the value; called once.
    PROPVARIANT* Put() { return &value_; }

    /// The value's text; null when it holds none.
    const wchar_t* Text() const { return value_.vt == VT_LPWSTR ? value_.pwszVal : nullptr; }

    /// The value's GUID; null when it holds none.
    const GUID* Guid() const { return value_.vt == VT_CLSID ? value_.puuid : nullptr; }

private:
    PROPVARIANT value_;
};
