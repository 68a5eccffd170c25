#include "tests/simulator/audio/AudioClient.h"

#include <stdexcept>
#include <thread>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class CreationTest : public AudioServiceInApartmentTest
{
};

INSTANTIATE_TEST_SUITE_P(Apartments, CreationTest,
                         testing::Values(DWORD{COINIT_APARTMENTTHREADED}, DWORD{COINIT_MULTITHREADED}),
                         [](const auto& instance)
                         { return instance.param == COINIT_APARTMENTTHREADED ? "SingleThreaded" : "Multithreaded"; });

TEST_P(CreationTest, GivesTheObjectsOfTheSimulatedService)
{
    {
        const auto enumerator = CreateEnumerator();
        const auto policyDefault = CreatePolicyDefault();
        Owned<IPolicyConfigVisibility> visibility;
        EXPECT_EQ(CoCreateInstance(policyVisibilityClass, nullptr, CLSCTX_INPROC_SERVER, policyVisibilityInterface,
                                   visibility.OutVoid()),
                  S_OK);
        EXPECT_THAT(service.LiveObjects(), ElementsAre(Pair("MMDeviceEnumerator", 1), Pair("PolicyConfigDefault", 1),
                                                       Pair("PolicyConfigVisibility", 1)));
        EXPECT_THAT(service.LiveReferences(), ElementsAre(Pair("MMDeviceEnumerator", 1), Pair("PolicyConfigDefault", 1),
                                                          Pair("PolicyConfigVisibility", 1)));
    }
    EXPECT_THAT(service.LiveObjects(), IsEmpty());
    EXPECT_THAT(Told(), ElementsAre("CoCreateInstance MMDeviceEnumerator -> 0x00000000",
                                    "CoCreateInstance PolicyConfigDefault -> 0x00000000",
                                    "CoCreateInstance PolicyConfigVisibility -> 0x00000000"));
}

TEST_P(CreationTest, GivesTheObjectItselfAndNoProxy)
{
    const auto enumerator = CreateEnumerator();
    EXPECT_EQ(enumerator->AddRef(), 2U);
    EXPECT_THAT(service.LiveReferences(), ElementsAre(Pair("MMDeviceEnumerator", 2)));
    EXPECT_EQ(enumerator->Release(), 1U);
}

TEST_P(CreationTest, RefusesAnUnknownInterface)
{
    for (const CLSID& classId : {enumeratorClass, policyDefaultClass, policyVisibilityClass})
    {
        void* object = &service;
        EXPECT_EQ(CoCreateInstance(classId, nullptr, CLSCTX_ALL, strangeInterface, &object), E_NOINTERFACE);
        EXPECT_EQ(object, nullptr);
    }
    EXPECT_THAT(service.LiveObjects(), IsEmpty());
}

TEST_P(CreationTest, ThePolicyClassesDoNotHaveEachOthersInterface)
{
    void* object = nullptr;
    EXPECT_EQ(CoCreateInstance(policyDefaultClass, nullptr, CLSCTX_ALL, policyVisibilityInterface, &object),
              E_NOINTERFACE);
    EXPECT_EQ(CoCreateInstance(policyVisibilityClass, nullptr, CLSCTX_ALL, policyDefaultInterface, &object),
              E_NOINTERFACE);
}

TEST_P(CreationTest, RefusesAggregation)
{
    Owned<IClassFactory> factory;
    ASSERT_EQ(CoGetClassObject(enumeratorClass, CLSCTX_ALL, nullptr, IID_IClassFactory, factory.OutVoid()), S_OK);
    RecordingClient outer;
    void* object = &outer;
    EXPECT_EQ(factory->CreateInstance(&outer, IID_IUnknown, &object), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
}

TEST_P(CreationTest, TheFactoryHasNoOtherInterface)
{
    Owned<IClassFactory> factory;
    ASSERT_EQ(CoGetClassObject(enumeratorClass, CLSCTX_ALL, nullptr, IID_IClassFactory, factory.OutVoid()), S_OK);
    void* object = &service;
    EXPECT_EQ(factory->QueryInterface(strangeInterface, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(factory->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST_P(CreationTest, PlannedFailuresReachTheClient)
{
    sim::FaultPlan::Instance().FailCall("CoCreateInstance::MMDeviceEnumerator", 2, E_OUTOFMEMORY);
    sim::FaultPlan::Instance().FailCall("CoCreateInstance::PolicyConfigDefault", 1, E_ACCESSDENIED);
    sim::FaultPlan::Instance().FailCall("CoCreateInstance::PolicyConfigVisibility", 1, E_FAIL);

    const auto first = CreateEnumerator();
    void* object = &service;
    EXPECT_EQ(CoCreateInstance(enumeratorClass, nullptr, CLSCTX_ALL, enumeratorInterface, &object), E_OUTOFMEMORY);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(CoCreateInstance(policyDefaultClass, nullptr, CLSCTX_ALL, policyDefaultInterface, &object),
              E_ACCESSDENIED);
    EXPECT_EQ(CoCreateInstance(policyVisibilityClass, nullptr, CLSCTX_ALL, policyVisibilityInterface, &object), E_FAIL);
    const auto third = CreateEnumerator();
    EXPECT_EQ(Told().at(1), "CoCreateInstance MMDeviceEnumerator -> 0x8007000E");
}

TEST_P(CreationTest, SuccessWithoutObjectReachesTheClient)
{
    service.SetCreation("PolicyConfigDefault", sim::Creation::SuccessWithoutObject);
    void* object = &service;
    EXPECT_EQ(CoCreateInstance(policyDefaultClass, nullptr, CLSCTX_ALL, policyDefaultInterface, &object), S_OK);
    EXPECT_EQ(object, nullptr);

    service.SetCreation("PolicyConfigDefault", sim::Creation::Usual);
    EXPECT_TRUE(CreatePolicyDefault());
}

TEST_P(CreationTest, FailureWithObjectReachesAClientThatIsGivenIt)
{
    service.SetCreation("MMDeviceEnumerator", sim::Creation::FailureWithObject);
    Owned<IMMDeviceEnumerator> enumerator;
    EXPECT_EQ(sim::CreateServiceObject(enumeratorClass, nullptr, CLSCTX_ALL, enumeratorInterface, enumerator.OutVoid()),
              E_FAIL);
    ASSERT_TRUE(enumerator);
    EXPECT_THAT(service.LiveReferences(), ElementsAre(Pair("MMDeviceEnumerator", 1)));
}

TEST_P(CreationTest, ServiceObjectsAreOtherwiseCreatedAsByCom)
{
    Owned<IMMDeviceEnumerator> enumerator;
    EXPECT_EQ(sim::CreateServiceObject(enumeratorClass, nullptr, CLSCTX_ALL, enumeratorInterface, enumerator.OutVoid()),
              S_OK);
    EXPECT_TRUE(enumerator);
    void* object = &service;
    EXPECT_EQ(sim::CreateServiceObject(strangeInterface, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &object),
              REGDB_E_CLASSNOTREG);
    EXPECT_EQ(object, nullptr);
}

/// Without the fixture: there is no apartment in the process.
TEST(CreationWithoutApartmentTest, AnswersThatComIsNotInitialized)
{
    void* object = &object;
    HRESULT byCom = S_OK;
    HRESULT direct = S_OK;
    std::thread(
        [&]
        {
            byCom = CoCreateInstance(enumeratorClass, nullptr, CLSCTX_ALL, enumeratorInterface, &object);
            direct = sim::CreateServiceObject(enumeratorClass, nullptr, CLSCTX_ALL, enumeratorInterface, &object);
        })
        .join();
    EXPECT_EQ(byCom, CO_E_NOTINITIALIZED);
    EXPECT_EQ(direct, CO_E_NOTINITIALIZED);
    EXPECT_EQ(object, nullptr);
}

TEST_F(AudioServiceTest, AClassThatTheServiceDoesNotHaveCannotBeSwitched)
{
    EXPECT_THROW(service.SetCreation("MMDevice", sim::Creation::Usual), std::invalid_argument);
}

} // namespace
