// The shipped module takes its locks in no circle, whatever they are called.
#include "simulator/host/HostControl.h"
#include "simulator/keys/VolumeKeys.h"
#include "tests/lockorder/LockWatch.h"
#include "tests/lockorder/Routine.h"
#include "tests/support/PluginModule.h"

#include "device/IDevConnecter.h"
#include "device/IDevFeatureHandler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using testing::IsEmpty;

template <typename Provider> Provider& Find(const char* keyword)
{
    return dynamic_cast<Provider&>(*sim::HostControl::Instance().FindProvider(keyword));
}

TEST(ModuleLockOrder, HasNoCircle)
{
    test::Routine day;
    const test::PluginModule module;
    const sim::VolumeKeys keys(module.Handle());
    test::LockWatch watch(module.Handle());
    const test::Plugin plugin(module);
    plugin->Init();
    day.Run(Find<VynCore::IDevConnecter>("2|2591"), Find<VynCore::IDevFeatureHandler>("3|9"));
    plugin->UnInit();

    EXPECT_THAT(watch.Circle(), IsEmpty());
    EXPECT_GE(watch.Pairs(), 10U); // it did watch
}

} // namespace
