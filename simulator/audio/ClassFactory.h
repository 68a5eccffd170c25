#pragma once

#include "simulator/audio/AudioService.h"

#include <windows.h>

#include <unknwn.h>

#include <atomic>
#include <string_view>

namespace sim
{

/// Makes the objects of one class. There is one for each class; none is ever destroyed, so its references are not
/// counted. COM and the control API call it from any thread.
class ClassFactory final : public IClassFactory
{
public:
    /// Null when the service has no such class.
    static ClassFactory* OfClass(REFCLSID classId);
    static ClassFactory* OfClass(std::string_view className);

    /// For all classes.
    static void ResetCreation();
    void SetCreation(Creation creation) { creation_ = creation; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** object) override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

    ClassFactory(const ClassFactory&) = delete;
    ClassFactory& operator=(const ClassFactory&) = delete;

private:
    using Maker = HRESULT (*)(REFIID riid, void** object);

    ClassFactory(const GUID& classId, std::string_view className, Maker make)
        : classId_(classId), className_(className), make_(make)
    {
    }
    ~ClassFactory() = default;

    static ClassFactory* const (&All())[3];
    HRESULT Create(const IUnknown* outer, REFIID riid, void** object) const;

    const GUID classId_;
    const std::string_view className_;
    const Maker make_;
    std::atomic<Creation> creation_ = Creation::Usual;
};

} // namespace sim
