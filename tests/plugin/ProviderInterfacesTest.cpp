// What the provider interfaces do by themselves.
#include "device/IDevConnecter.h"
#include "device/IDevFeatureHandler.h"
#include "device/IDevFinder.h"
#include "device/IToolProvider.h"
#include "device/VynTypes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace test
{

namespace
{

using namespace VynCore;

struct Finder : IDevFinder
{
    std::int32_t StartFind() override { return 0; }
    std::int32_t StopFind() override { return 0; }
    bool IsFinding() override { return false; }
};

struct Connecter : IDevConnecter
{
    std::int32_t ConnectDev(const VynDevice&) override { return 0; }
    std::int32_t DisconnectDev(const VynDevice&) override { return 0; }
    void NotifyConnStateChanged(const VynDevice&, DeviceState) override {}
    void CancelConnectDev(const VynDevice&) override {}
    std::int32_t QueryConnectedDevAsync() override { return 0; }
    std::int32_t StopQueryConnectedDev() override { return 0; }
};

struct TypedConnecter : Connecter
{
    explicit TypedConnecter(std::int32_t deviceType) : type(static_cast<DeviceType>(deviceType)) {}
    DeviceType GetDevType() override { return type; }

    DeviceType type;
};

struct FeatureHandler : IDevFeatureHandler
{
    std::int32_t GetFeatureType() override { return 9; }
    std::int32_t EnableFeature(const VynDevice&) override { return 0; }
    std::int32_t DisableFeature(const VynDevice&) override { return 0; }
    void ReportFeatureState(const VynDevice&, const DevFeatureStateInfo&) override {}
    bool IsFeatureAvailable() override { return false; }
    DevFeatureStateInfo GetFeatureState(const std::string&) override { return {}; }
};

struct Tool : IToolProvider
{
    std::int32_t RunTool(const std::string&) override { return 0; }
};

TEST(ProviderInterfaces, HaveTheirTypes)
{
    EXPECT_EQ(static_cast<int>(Finder().GetType()), 1);
    EXPECT_EQ(static_cast<int>(Connecter().GetType()), 2);
    EXPECT_EQ(static_cast<int>(FeatureHandler().GetType()), 3);
    EXPECT_EQ(static_cast<int>(Tool().GetType()), 4);
}

TEST(ProviderInterfaces, HaveTheirDefaults)
{
    EXPECT_EQ(static_cast<int>(Finder().GetDevChannelType()), 0);
    EXPECT_EQ(static_cast<int>(Connecter().GetDevType()), 65535);
    EXPECT_EQ(Tool().GetFeatureId(), "");
}

TEST(ProviderInterfaces, BuildTheirKeywords)
{
    EXPECT_EQ(Finder().GetKeyword(), "1|0");
    EXPECT_EQ(Connecter().GetKeyword(), "2|65535");
    EXPECT_EQ(FeatureHandler().GetKeyword(), "3|9");
    EXPECT_EQ(Tool().GetKeyword(), "4|");
}

TEST(ProviderInterfaces, KeywordsAreSignedDecimal)
{
    EXPECT_EQ(TypedConnecter(0xA1F).GetKeyword(), "2|2591");
    EXPECT_EQ(TypedConnecter(0).GetKeyword(), "2|0");
    EXPECT_EQ(TypedConnecter(-5).GetKeyword(), "2|-5");
    EXPECT_EQ(TypedConnecter(2147483647).GetKeyword(), "2|2147483647");
    EXPECT_EQ(TypedConnecter(-2147483647 - 1).GetKeyword(), "2|-2147483648");
}

TEST(ProviderInterfaces, KeywordsFollowWhatIsOverridden)
{
    struct OtherType : Finder
    {
        VynProviderType GetType() override { return static_cast<VynProviderType>(77); }
        DevChannelType GetDevChannelType() override { return static_cast<DevChannelType>(5); }
    };
    struct NamedTool : Tool
    {
        std::string GetFeatureId() override { return "tool-1"; }
    };
    EXPECT_EQ(OtherType().GetKeyword(), "77|5");
    EXPECT_EQ(NamedTool().GetKeyword(), "4|tool-1");
}

TEST(ProviderInterfaces, EachKeywordFollowsBothOfItsParts)
{
    struct OtherConnecter : TypedConnecter
    {
        OtherConnecter() : TypedConnecter(-7) {}
        VynProviderType GetType() override { return static_cast<VynProviderType>(-12); }
    };
    struct OtherHandler : FeatureHandler
    {
        explicit OtherHandler(std::int32_t featureType) : feature(featureType) {}
        VynProviderType GetType() override { return static_cast<VynProviderType>(31); }
        std::int32_t GetFeatureType() override { return feature; }

        std::int32_t feature;
    };
    struct OtherTool : Tool
    {
        VynProviderType GetType() override { return static_cast<VynProviderType>(0); }
        std::string GetFeatureId() override { return "9"; }
    };
    EXPECT_EQ(OtherConnecter().GetKeyword(), "-12|-7");
    EXPECT_EQ(OtherHandler(4711).GetKeyword(), "31|4711");
    EXPECT_EQ(OtherHandler(-2147483647 - 1).GetKeyword(), "31|-2147483648");
    EXPECT_EQ(OtherTool().GetKeyword(), "0|9");
}

TEST(ProviderInterfaces, AreReachedThroughTheirBase)
{
    const std::shared_ptr<IProvider> provider = std::make_shared<Connecter>();
    EXPECT_EQ(provider->GetKeyword(), "2|65535");
    EXPECT_EQ(static_cast<int>(provider->GetType()), 2);
}

TEST(ProviderInterfaces, ShareOneBaseInAnObject)
{
    struct Both final : Finder, Tool
    {
        VynProviderType GetType() override { return VynProviderType::DevFinder; }
        std::string GetKeyword() override { return "both"; }
    };
    Both both;
    IProvider* const throughFinder = static_cast<IDevFinder*>(&both);
    IProvider* const throughTool = static_cast<IToolProvider*>(&both);
    EXPECT_EQ(throughFinder, throughTool);
}

TEST(ProviderInterfaces, KnowTheirSharedOwner)
{
    const auto owned = std::make_shared<Connecter>();
    EXPECT_EQ(owned->shared_from_this(), owned);
    EXPECT_EQ(std::as_const(*owned).shared_from_this(), owned);
    EXPECT_EQ(owned->weak_from_this().lock(), owned);
    EXPECT_EQ(std::as_const(*owned).weak_from_this().lock(), owned);
}

TEST(ProviderInterfaces, WithoutASharedOwnerHaveNoneToGive)
{
    Connecter unowned;
    EXPECT_TRUE(unowned.weak_from_this().expired());
    EXPECT_THROW(unowned.shared_from_this(), std::bad_weak_ptr);
    EXPECT_THROW(std::as_const(unowned).shared_from_this(), std::bad_weak_ptr);
}

TEST(ProviderInterfaces, ACopyHasNothingOfTheOriginal)
{
    const auto owned = std::make_shared<Connecter>();
    const Connecter copy(*owned);
    EXPECT_TRUE(copy.weak_from_this().expired());
}

TEST(ProviderInterfaces, AssignmentLeavesBothUnchanged)
{
    const auto left = std::make_shared<Connecter>();
    const auto right = std::make_shared<Connecter>();
    EXPECT_EQ(&(*left = *right), left.get());
    EXPECT_EQ(left->shared_from_this(), left);
    EXPECT_EQ(right->shared_from_this(), right);
    IProvider& base = *left;
    EXPECT_EQ(&(base = *right), &base);
    EXPECT_EQ(left->shared_from_this(), left);
}

} // namespace

} // namespace test
