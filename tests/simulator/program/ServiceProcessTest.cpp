#include "simulator/program/ServiceProcess.h"
#include "simulator/program/ScenarioFailure.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>

namespace sim
{

namespace
{

std::wstring ServiceProgram()
{
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    return std::filesystem::path(program).parent_path() / SERVICE_PROGRAM;
}

std::string OwnBus(const char* test)
{
    return std::string(test) + std::to_string(GetCurrentProcessId());
}

std::string FailureOf(ServiceProcess& service, void (ServiceProcess::*operation)())
{
    try
    {
        (service.*operation)();
    }
    catch (const ScenarioFailure& failure)
    {
        return failure.what();
    }
    return "none";
}

} // namespace

TEST(ServiceProcess, StartsStopsAndStartsAgain)
{
    ServiceProcess service(ServiceProgram(), OwnBus("service-process-restart-"));
    EXPECT_FALSE(service.Runs());
    service.Start();
    EXPECT_TRUE(service.Runs());
    service.Stop();
    EXPECT_FALSE(service.Runs());
    service.Start();
    EXPECT_TRUE(service.Runs());
}

TEST(ServiceProcess, RefusesWhatItCannotDo)
{
    ServiceProcess service(ServiceProgram(), OwnBus("service-process-refuse-"));
    EXPECT_EQ(FailureOf(service, &ServiceProcess::Stop), "the service does not run");
    service.Start();
    EXPECT_EQ(FailureOf(service, &ServiceProcess::Start), "the service runs already");
    EXPECT_THROW(service.Command("dance"), ScenarioFailure);
    EXPECT_NO_THROW(service.Command("silent on"));
}

TEST(ServiceProcess, FailsToStartOnABusThatIsTaken)
{
    const std::string bus = OwnBus("service-process-taken-");
    ServiceProcess first(ServiceProgram(), bus);
    first.Start();
    ServiceProcess second(ServiceProgram(), bus);
    EXPECT_THROW(second.Start(), ScenarioFailure);
    EXPECT_FALSE(second.Runs());
}

TEST(ServiceProcess, ThrowsForAProgramThatIsNotThere)
{
    ServiceProcess service(L"no-such-program.exe", OwnBus("service-process-missing-"));
    EXPECT_THROW(service.Start(), std::system_error);
    EXPECT_FALSE(service.Runs());
}

} // namespace sim
