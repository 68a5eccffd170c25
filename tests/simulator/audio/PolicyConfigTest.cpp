#include "tests/simulator/audio/AudioClient.h"

#include <cstddef>
#include <cstdint>

namespace
{

using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;

/// Calls an operation of a policy object by its slot in the table, as clients do that have no declaration of it.
template <class... Arguments> HRESULT CallSlot(IUnknown* object, std::size_t slot, Arguments... arguments)
{
    using Operation = HRESULT(STDMETHODCALLTYPE*)(IUnknown*, Arguments...);
    void* const* const table = *reinterpret_cast<void* const* const*>(object);
    return reinterpret_cast<Operation>(reinterpret_cast<std::uintptr_t>(table[slot]))(object, arguments...);
}

class PolicyConfigTest : public AudioServiceTest
{
protected:
    PolicyConfigTest()
    {
        Add("speaker");
        Add("headset");
        sim::Timeline::Instance().Clear();
    }

    HRESULT SetDefault(const wchar_t* id, int role) const
    {
        return CallSlot(policyDefault_.Get(), 12, id, static_cast<ERole>(role));
    }
    HRESULT SetDefault(const std::string& label, int role) const { return SetDefault(service.Id(label).c_str(), role); }

    HRESULT SetVisible(const wchar_t* id, int visible) const
    {
        return CallSlot(visibility_.Get(), 14, id, static_cast<INT>(visible));
    }
    HRESULT SetVisible(const std::string& label, int visible) const
    {
        return SetVisible(service.Id(label).c_str(), visible);
    }

    const Owned<IPolicyConfigDefault> policyDefault_ = CreatePolicyDefault();
    const Owned<IPolicyConfigVisibility> visibility_ = CreatePolicyVisibility();
};

TEST_F(PolicyConfigTest, Slot12SetsTheDefaultOfTheRoleItIsAskedFor)
{
    EXPECT_EQ(SetDefault("headset", 2), S_OK);
    EXPECT_EQ(DefaultId(eRender, eConsole), service.Id("speaker"));
    EXPECT_EQ(DefaultId(eRender, eMultimedia), service.Id("speaker"));
    EXPECT_EQ(DefaultId(eRender, eCommunications), service.Id("headset"));
    EXPECT_EQ(Told().at(0), "SetDefaultEndpoint headset 2 -> 0x00000000");
}

TEST_F(PolicyConfigTest, Slot12IsSetDefaultEndpointOfTheDeclaration)
{
    EXPECT_EQ(policyDefault_->SetDefaultEndpoint(service.Id("headset").c_str(), eConsole), S_OK);
    EXPECT_EQ(service.Default(eRender, eConsole), "headset");
}

TEST_F(PolicyConfigTest, Slot14HidesAndShows)
{
    EXPECT_EQ(SetVisible("headset", 0), S_OK);
    EXPECT_EQ(service.State("headset"), 2U);
    EXPECT_EQ(SetVisible("headset", 1), S_OK);
    EXPECT_EQ(service.State("headset"), 1U);
    EXPECT_EQ(visibility_->SetEndpointVisibility(service.Id("headset").c_str(), 0), S_OK);
    EXPECT_EQ(service.State("headset"), 2U);
    EXPECT_THAT(Told(), ElementsAre("SetEndpointVisibility headset 0 -> 0x00000000",
                                    "SetEndpointVisibility headset 1 -> 0x00000000",
                                    "SetEndpointVisibility headset 0 -> 0x00000000"));
}

TEST_F(PolicyConfigTest, ShowingGivesTheStateThatTheDeviceHas)
{
    SetVisible("headset", 0);
    service.SetPlugged("headset", false);
    EXPECT_EQ(service.State("headset"), 2U);
    SetVisible("headset", 1);
    EXPECT_EQ(service.State("headset"), 8U);
    SetVisible("headset", 0);
    service.SetPresent("headset", false);
    EXPECT_EQ(service.State("headset"), 4U);
    SetVisible("headset", 1);
    EXPECT_EQ(service.State("headset"), 4U);
    service.SetPresent("headset", true);
    EXPECT_EQ(service.State("headset"), 8U);
}

TEST_F(PolicyConfigTest, AnEndpointThatIsNotActiveCannotBeTheDefault)
{
    for (const DWORD state : {2U, 4U, 8U})
    {
        service.SetState("headset", state);
        EXPECT_EQ(SetDefault("headset", 0), invalidatedResult);
    }
    EXPECT_EQ(service.Default(eRender, eConsole), "speaker");
    EXPECT_EQ(Told().at(0), "SetDefaultEndpoint headset 0 -> 0x88890004");
}

TEST_F(PolicyConfigTest, ChecksTheArguments)
{
    const wchar_t* const unknown = L"{0.0.0.00000000}.{11111111-2222-3333-4444-555555555555}";
    EXPECT_EQ(SetDefault(nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(SetDefault(L"", 0), E_INVALIDARG);
    EXPECT_EQ(SetDefault(unknown, 0), notFoundResult);
    EXPECT_EQ(SetDefault("headset", 3), E_INVALIDARG);
    EXPECT_EQ(SetDefault("headset", -1), E_INVALIDARG);
    EXPECT_EQ(SetVisible(nullptr, 1), E_INVALIDARG);
    EXPECT_EQ(SetVisible(L"headset", 1), E_INVALIDARG);
    EXPECT_EQ(SetVisible(unknown, 1), notFoundResult);
    EXPECT_EQ(Told().at(0), "SetDefaultEndpoint null 0 -> 0x80070057");
    EXPECT_EQ(Told().at(2),
              "SetDefaultEndpoint {0.0.0.00000000}.{11111111-2222-3333-4444-555555555555} 0 -> 0x80070490");
}

TEST_F(PolicyConfigTest, TheOtherSlotsAreNotImplementedAndTold)
{
    for (std::size_t slot = 3; slot <= 14; ++slot)
    {
        if (slot != 12)
        {
            EXPECT_EQ(CallSlot(policyDefault_.Get(), slot), E_NOTIMPL);
        }
        if (slot != 14)
        {
            EXPECT_EQ(CallSlot(visibility_.Get(), slot), E_NOTIMPL);
        }
    }
    EXPECT_EQ(Told().size(), 22U);
    EXPECT_THAT(Told(), Each(EndsWith(" -> 0x80004001")));
    EXPECT_EQ(Told().at(0), "IPolicyConfigDefault::Slot3 -> 0x80004001");
    EXPECT_EQ(Told().at(21), "IPolicyConfigDefault::Slot14 -> 0x80004001");
    EXPECT_EQ(sim::FaultPlan::Instance().Calls("IPolicyConfigVisibility::Slot13"), 1U);
}

} // namespace
