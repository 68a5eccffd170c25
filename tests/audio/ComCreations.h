#pragma once

#include "tests/support/ImportPatch.h"

#include <windows.h>

#include <objbase.h>

#include <functional>
#include <string>
#include <utility>

namespace test
{

/// Stands in for the module's CoCreateInstance while it lives. At most one object at a time; the module may create
/// objects on any thread.
class ComCreations
{
public:
    using Creator = std::function<HRESULT(REFCLSID classId, DWORD context, REFIID riid, void** object)>;

    explicit ComCreations(Creator creator) : patch_(nullptr, "ole32.dll", "CoCreateInstance", &Create)
    {
        CurrentCreator() = std::move(creator);
    }
    ~ComCreations() { CurrentCreator() = nullptr; }
    ComCreations(const ComCreations&) = delete;
    ComCreations& operator=(const ComCreations&) = delete;

private:
    static Creator& CurrentCreator()
    {
        static Creator creator;
        return creator;
    }

    static HRESULT STDAPICALLTYPE Create(REFCLSID classId, IUnknown* outer, DWORD context, REFIID riid, void** object)
    {
        return outer == nullptr ? CurrentCreator()(classId, context, riid, object) : CLASS_E_NOAGGREGATION;
    }

    ImportPatch patch_;
};

/// A GUID as "{...}" with upper-case digits.
inline std::string GuidText(const GUID& guid)
{
    wchar_t wide[39] = {};
    StringFromGUID2(guid, wide, 39);
    std::string text;
    for (const wchar_t* character = wide; *character != L'\0'; ++character)
    {
        text += static_cast<char>(*character);
    }
    return text;
}

} // namespace test
