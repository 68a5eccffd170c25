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

    PluginModule module;
};

// Those of the base that all providers share lead through the compiler's adjustors, which have no names.
TEST_F(Slots, OfTheConnectersOwnOperations)
{
    const Operation* const table = Table("??_7IDevConnecter@VynCore@@6B01@@");
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table[0], Exported("?GetDevType@IDevConnecter@VynCore@@UEAA?AW4DeviceType@2@XZ"));
}

TEST_F(Slots, OfTheFindersOwnOperations)
{
    const Operation* const table = Table("??_7IDevFinder@VynCore@@6B01@@");
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table[2], Exported("?GetDevChannelType@IDevFinder@VynCore@@UEAA?AW4DevChannelType@2@XZ"));
}

TEST_F(Slots, OfTheToolsOwnOperations)
{
    const Operation* const table = Table("??_7IToolProvider@VynCore@@6B01@@");
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table[0], Exported("?GetFeatureId@IToolProvider@VynCore@@UEAA?AV?$basic_string@DU?$char_traits@D@std@@"
                                 "V?$allocator@D@2@@std@@XZ"));
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
