// Exceptions that the module throws and the program catches.
#include "taskloop/TaskLoop.h"
#include "tests/support/PluginModule.h"

#include "device/IProvider.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <future>
#include <memory>
#include <system_error>

namespace test
{

namespace
{

TEST(MicrosoftExceptions, StopOnTheLoopsOwnThreadThrowsWhatAJoinThrows)
{
    TaskLoop& loop = *new TaskLoop("loop"); // its thread stays joinable, so its destructor would end the process
    std::promise<std::error_code> thrown;
    loop.StartLoop(true);
    loop.PostTask(
        [&]
        {
            try
            {
                loop.StopLoop();
                thrown.set_value({});
            }
            catch (const std::system_error& error)
            {
                thrown.set_value(error.code());
            }
        });
    EXPECT_EQ(thrown.get_future().get(), std::errc::resource_deadlock_would_occur);
}

TEST(MicrosoftExceptions, AnObjectThatNobodyOwnsHasNoSharedPointer)
{
    // A member of the module's, called as the compiler does: the object first, then the place of the result.
    using SharedFromThis = void*(void* object, std::shared_ptr<VynCore::IProvider>* result);
    const PluginModule module;
    const auto sharedFromThis = reinterpret_cast<SharedFromThis*>(reinterpret_cast<void*>(
        GetProcAddress(module.Handle(), "?shared_from_this@?$enable_shared_from_this@VIProvider@VynCore@@@std@@"
                                        "QEAA?AV?$shared_ptr@VIProvider@VynCore@@@2@XZ")));
    ASSERT_NE(sharedFromThis, nullptr);
    std::weak_ptr<VynCore::IProvider> nobody; // all that the base consists of
    alignas(std::shared_ptr<VynCore::IProvider>) std::byte result[sizeof(std::shared_ptr<VynCore::IProvider>)];
    EXPECT_THROW(sharedFromThis(&nobody, reinterpret_cast<std::shared_ptr<VynCore::IProvider>*>(result)),
                 std::bad_weak_ptr);
}

} // namespace

} // namespace test
