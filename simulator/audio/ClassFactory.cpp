#include "simulator/audio/ClassFactory.h"

#include "simulator/audio/AudioIdentifiers.h"
#include "simulator/audio/ComCall.h"
#include "simulator/audio/DeviceEnumerator.h"
#include "simulator/audio/PolicyConfigDefault.h"
#include "simulator/audio/PolicyConfigVisibility.h"

#include <memory>
#include <string>

namespace sim
{

namespace
{

template <class Made> HRESULT Make(REFIID riid, void** object)
{
    auto made = std::make_unique<Made>();
    const HRESULT result = made->Give(riid, object);
    if (SUCCEEDED(result))
    {
        made.release(); // the client's reference owns it now
    }
    return result;
}

} // namespace

ClassFactory* const (&ClassFactory::All())[3]
{
    static ClassFactory* const all[3] = {
        new ClassFactory(deviceEnumeratorClass, "MMDeviceEnumerator", &Make<DeviceEnumerator>),
        new ClassFactory(policyConfigDefaultClass, "PolicyConfigDefault", &Make<PolicyConfigDefault>),
        new ClassFactory(policyConfigVisibilityClass, "PolicyConfigVisibility", &Make<PolicyConfigVisibility>),
    };
    return all;
}

ClassFactory* ClassFactory::OfClass(REFCLSID classId)
{
    for (ClassFactory* const factory : All())
    {
        if (IsEqualCLSID(factory->classId_, classId))
        {
            return factory;
        }
    }
    return nullptr;
}

ClassFactory* ClassFactory::OfClass(std::string_view className)
{
    for (ClassFactory* const factory : All())
    {
        if (factory->className_ == className)
        {
            return factory;
        }
    }
    return nullptr;
}

void ClassFactory::ResetCreation()
{
    for (ClassFactory* const factory : All())
    {
        factory->SetCreation(Creation::Usual);
    }
}

HRESULT ClassFactory::QueryInterface(REFIID riid, void** object)
{
    if (object == nullptr)
    {
        return E_POINTER;
    }
    const bool known = IsEqualIID(riid, __uuidof(IUnknown)) || IsEqualIID(riid, __uuidof(IClassFactory));
    *object = known ? static_cast<IClassFactory*>(this) : nullptr;
    return known ? S_OK : E_NOINTERFACE;
}

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID riid, void** object)
{
    ClearOut(object);
    const std::string name(className_);
    return TellCall("CoCreateInstance " + name,
                    EnterCall("CoCreateInstance::" + name, [&] { return Create(outer, riid, object); }));
}

HRESULT ClassFactory::LockServer(BOOL)
{
    return S_OK; // the DLL never leaves the process anyway
}

HRESULT ClassFactory::Create(const IUnknown* outer, REFIID riid, void** object) const
{
    if (object == nullptr)
    {
        return E_POINTER;
    }
    if (outer != nullptr)
    {
        return CLASS_E_NOAGGREGATION;
    }
    const Creation creation = creation_;
    if (creation == Creation::SuccessWithoutObject)
    {
        return S_OK;
    }
    const HRESULT result = make_(riid, object);
    return creation == Creation::FailureWithObject && SUCCEEDED(result) ? E_FAIL : result;
}

} // namespace sim
