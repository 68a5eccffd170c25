// The module's tables of virtual operations, as they lie in memory: the host calls by slot.
#include "tests/support/PluginModule.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <string>

namespace test
{

namespace
{

using Operation = const void*;

/// What the module exports, by its decorated name.
class Slots : public testing::Test
{
protected:
    Operation Exported(const std::string& name) const
    {
        const Operation found = reinterpret_cast<Operation>(GetProcAddress(module.Handle(), name.c_str()));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }

    const Operation* Table(const std::string& name) const { return static_cast<const Operation*>(Exported(name)); }

    /// The part that all providers have: destructor, `GetType`, `GetKeyword`.
    void ExpectProviderTable(const std::string& provider) const
    {
        const Operation* const table = Table("??_7" + provider + "@VynCore@@6BIProvider@1@@");
        ASSERT_NE(table, nullptr);
        EXPECT_EQ(table[1], Exported("?GetType@" + provider + "@VynCore@@UEAA?AW4VynProviderType@2@XZ"));
        EXPECT_EQ(table[2], Exported("?GetKeyword@" + provider + "@VynCore@@UEAA" + text + "XZ"));
    }

    static inline const std::string text = "?AV?$basic_string@DU?$char_traits@D@std@@V?$allocator@D@2@@std@@";
    PluginModule module;
};

TEST_F(Slots, OfProviders)
{
    ExpectProviderTable("IDevFinder");
    ExpectProviderTable("IDevConnecter");
    ExpectProviderTable("IDevFeatureHandler");
    ExpectProviderTable("IToolProvider");
}

TEST_F(Slots, OfTheConnectersOwnOperations)
{
    const Operation* const table = Table("??_7IDevConnecter@VynCore@@6B01@@");
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table[0], Exported("?GetDevType@IDevConnecter@VynCore@@UEAA?AW4DeviceType@2@XZ"));
}

TEST_F(Slots, OfThePluginObject)
{
    using Answer = bool(void* plugin);
    const Plugin plugin(module);
    void* const object = plugin.Get();
    void** const table = *static_cast<void***>(object);
    EXPECT_TRUE(reinterpret_cast<Answer*>(table[2])(object));                    // IsSupported
    EXPECT_TRUE(reinterpret_cast<Answer*>(table[3])(object));                    // IsEnabled
    EXPECT_EQ(*reinterpret_cast<const int*>(static_cast<char*>(object) + 8), 1); // apiVersion
}

} // namespace

} // namespace test
