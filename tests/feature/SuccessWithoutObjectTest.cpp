// Calls of the platform that say that they succeeded, and give nothing.
#include "feature/HeadsetAudioFeatureHandler.h"
#include "tests/audio/ComCreations.h"
#include "tests/audio/FakeDevices.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace test
{

namespace
{

/// Has endpoints without an id, or none at all.
class EmptyHandedEnumerator : public FakeEnumerator
{
public:
    explicit EmptyHandedEnumerator(bool givesEndpoint) : FakeEnumerator({}), givesEndpoint_(givesEndpoint) {}

    HRESULT STDMETHODCALLTYPE GetDefaultAudioEndpoint(EDataFlow, ERole, IMMDevice** device) override
    {
        return GetDevice(nullptr, device);
    }
    HRESULT STDMETHODCALLTYPE GetDevice(LPCWSTR, IMMDevice** device) override
    {
        *device = givesEndpoint_ ? new NamelessDevice() : nullptr;
        return S_OK;
    }

private:
    class NamelessDevice : public FakeDevice
    {
    public:
        NamelessDevice() : FakeDevice({.id = L""}) {}

        HRESULT STDMETHODCALLTYPE Activate(REFIID, DWORD, PROPVARIANT*, void** object) override
        {
            *object = nullptr;
            return S_OK;
        }
        HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) override
        {
            *id = nullptr;
            return S_OK;
        }
    };

    const bool givesEndpoint_;
};

class SuccessWithoutObject : public testing::TestWithParam<bool>
{
protected:
    ~SuccessWithoutObject() override { EXPECT_EQ(liveFakes, 0); }

    static HRESULT Create(void** object)
    {
        *object = static_cast<IMMDeviceEnumerator*>(new EmptyHandedEnumerator(GetParam()));
        return S_OK;
    }

    const ComCreations creations{[](REFCLSID, DWORD, REFIID, void** object)
                                 {
                                     return Create(object);
                                 }};
};

TEST_P(SuccessWithoutObject, IsNoVolume)
{
    EXPECT_FALSE(HeadsetAudioFeatureHandler::GetSpeakerAudioEndpointVolume(L"speaker"));
}

TEST_P(SuccessWithoutObject, IsNoDefault)
{
    EXPECT_FALSE(HeadsetAudioFeatureHandler::IsDefaultChannel(L"speaker"));
}

INSTANTIATE_TEST_SUITE_P(OfTheEndpointOrOfWhatItHas, SuccessWithoutObject, testing::Bool());

} // namespace

} // namespace test
