// The notification client as a COM object: interfaces, references, slots.
#include "tests/audio/NotificationClientTest.h"
#include "tests/support/LogLines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

constexpr IID unknownInterface = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
constexpr IID notificationInterface = {0x7991EEC9, 0x7E89, 0x4D85, {0x83, 0x90, 0x6C, 0x70, 0x3C, 0xEC, 0x60, 0xC0}};

class ClientObjectTest : public test::NotificationClientTest
{
protected:
    /// The count of references, which no operation shows by itself.
    static ULONG References(CMMNotificationClient& object)
    {
        const ULONG withOneMore = object.AddRef();
        object.Release();
        return withOneMore - 1;
    }
};

TEST_F(ClientObjectTest, TheModulesClientBeginsWithOneReference)
{
    EXPECT_EQ(References(client), 1U);
    EXPECT_EQ(&CMMNotificationClient::Instance(), &client);
}

TEST_F(ClientObjectTest, GivesItselfAsIUnknown)
{
    void* object = nullptr;
    EXPECT_EQ(client.QueryInterface(unknownInterface, &object), S_OK);
    EXPECT_EQ(object, static_cast<IMMNotificationClient*>(&client));
    EXPECT_EQ(References(client), 2U);
    EXPECT_EQ(client.Release(), 1U);
    EXPECT_THAT(test::LogLines(),
                ElementsAre("3 QueryInterface begin(CMMNotificationClient::QueryInterface)",
                            "3 QueryInterface IID_IUnknown == riid(CMMNotificationClient::QueryInterface)",
                            "3 QueryInterface end(CMMNotificationClient::QueryInterface)"));
}

TEST_F(ClientObjectTest, GivesItselfAsNotificationClient)
{
    void* object = nullptr;
    EXPECT_EQ(client.QueryInterface(notificationInterface, &object), S_OK);
    EXPECT_EQ(object, static_cast<IMMNotificationClient*>(&client));
    EXPECT_EQ(References(client), 2U);
    EXPECT_EQ(client.Release(), 1U);
    EXPECT_THAT(
        test::LogLines(),
        ElementsAre("3 QueryInterface begin(CMMNotificationClient::QueryInterface)",
                    "3 QueryInterface __uuidof(IMMNotificationClient) == riid(CMMNotificationClient::QueryInterface)",
                    "3 QueryInterface end(CMMNotificationClient::QueryInterface)"));
}

TEST_F(ClientObjectTest, HasNoOtherInterface)
{
    const IID enumerator = {0xA95664D2, 0x9614, 0x4F35, {0xA7, 0x46, 0xDE, 0x8D, 0xB6, 0x36, 0x17, 0xE6}};
    void* object = this;
    EXPECT_EQ(client.QueryInterface(enumerator, &object), static_cast<HRESULT>(0x80004002));
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(References(client), 1U);
    EXPECT_THAT(test::LogLines(), ElementsAre("3 QueryInterface begin(CMMNotificationClient::QueryInterface)",
                                              "3 QueryInterface is  NULL(CMMNotificationClient::QueryInterface)"));
}

TEST_F(ClientObjectTest, ANullPlaceForTheInterfaceIsRefused)
{
    EXPECT_EQ(client.QueryInterface(unknownInterface, nullptr), E_POINTER);
    EXPECT_EQ(References(client), 1U);
}

TEST_F(ClientObjectTest, CountsReferencesAndLogsNothing)
{
    EXPECT_EQ(client.AddRef(), 2U);
    EXPECT_EQ(client.AddRef(), 3U);
    EXPECT_EQ(client.Release(), 2U);
    EXPECT_EQ(client.Release(), 1U);
    EXPECT_THAT(test::LogLines(), IsEmpty());
}

TEST_F(ClientObjectTest, CountsReferencesOfSeveralThreads)
{
    const auto takeAndGive = [this]
    {
        for (int count = 0; count < 20000; ++count)
        {
            client.AddRef();
            client.AddRef();
            client.Release();
            client.Release();
        }
    };
    std::thread first(takeAndGive);
    std::thread second(takeAndGive);
    first.join();
    second.join();
    EXPECT_EQ(References(client), 1U);
}

TEST_F(ClientObjectTest, AnObjectOnTheHeapIsFreedByItsLastReleaseAndItsCallbackWithIt)
{
    const auto held = std::make_shared<int>();
    auto* const object = new CMMNotificationClient();
    object->*MemberOf(test::ClientCallback{}) = [held](const std::wstring&, const std::string&) {
    };
    EXPECT_EQ(held.use_count(), 2);
    EXPECT_EQ(object->AddRef(), 2U);
    EXPECT_EQ(object->Release(), 1U);
    EXPECT_EQ(held.use_count(), 2);
    EXPECT_EQ(object->Release(), 0U);
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(ClientObjectTest, AdditionsRemovalsAndPropertiesAreAcceptedAndIgnored)
{
    SetRecordingCallback();
    EXPECT_EQ(client.OnDeviceAdded(L"id"), S_OK);
    EXPECT_EQ(client.OnDeviceAdded(nullptr), S_OK);
    EXPECT_EQ(client.OnDeviceRemoved(L"id"), S_OK);
    EXPECT_EQ(client.OnDeviceRemoved(nullptr), S_OK);
    EXPECT_EQ(client.OnPropertyValueChanged(L"id", PROPERTYKEY{}), S_OK);
    EXPECT_EQ(client.OnPropertyValueChanged(nullptr, PROPERTYKEY{}), S_OK);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_TRUE(NothingRefreshed());
    EXPECT_THAT(test::LogLines(), IsEmpty());
}

/// Calls through the table of operations, as a client of the platform's interface does.
class Slots
{
public:
    explicit Slots(IMMNotificationClient& client) : object_(&client), table_(*reinterpret_cast<void***>(&client)) {}

    template <typename... Arguments> long Call(int slot, Arguments... arguments) const
    {
        return reinterpret_cast<long(STDMETHODCALLTYPE*)(void*, Arguments...)>(table_[slot])(object_, arguments...);
    }

private:
    void* object_;
    void** table_;
};

TEST_F(ClientObjectTest, OperationsStandInTheOrderOfTheInterface)
{
    SetRecordingCallback();
    const Slots slots(client);
    void* object = nullptr;
    EXPECT_EQ(slots.Call(0, &unknownInterface, &object), S_OK);
    EXPECT_EQ(object, &client);
    EXPECT_EQ(slots.Call(1), 3);
    EXPECT_EQ(slots.Call(2), 2);
    EXPECT_EQ(slots.Call(2), 1);
    timeline.Clear();

    EXPECT_EQ(slots.Call(3, static_cast<LPCWSTR>(nullptr), DWORD{1}), S_OK);
    EXPECT_EQ(slots.Call(4, static_cast<LPCWSTR>(L"id")), S_OK);
    EXPECT_EQ(slots.Call(5, static_cast<LPCWSTR>(L"id")), S_OK);
    EXPECT_EQ(slots.Call(6, eRender, eConsole, static_cast<LPCWSTR>(nullptr)), S_FALSE);
    EXPECT_EQ(slots.Call(7, static_cast<LPCWSTR>(L"id"), PROPERTYKEY{}), S_OK);
    EXPECT_THAT(test::LogLines(),
                ElementsAre("4 pwstrDeviceId nullptr(CMMNotificationClient::OnDeviceStateChanged)",
                            "4 pwstrDeviceId nullptr(CMMNotificationClient::OnDefaultDeviceChanged)"));

    EXPECT_EQ(slots.Call(3, speaker.c_str(), DWORD{DEVICE_STATE_ACTIVE}), S_OK);
    EXPECT_EQ(slots.Call(6, eCapture, eCommunications, speaker.c_str()), S_OK);
    EXPECT_THAT(Calls(), ElementsAre(Call{speaker, "ACTIVE"}, Call{speaker, ""}));
}

} // namespace
