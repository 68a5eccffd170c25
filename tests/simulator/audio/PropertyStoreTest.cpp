#include "tests/simulator/audio/AudioClient.h"

namespace
{

constexpr GUID someContainer = {0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}};

class PropertyStoreTest : public AudioServiceTest
{
protected:
    static Owned<IPropertyStore> OpenStore(const std::string& label)
    {
        Owned<IPropertyStore> store;
        EXPECT_EQ(GetDevice(label)->OpenPropertyStore(STGM_READ, store.Out()), S_OK);
        return store;
    }
};

TEST_F(PropertyStoreTest, GivesTheNameAndTheContainer)
{
    service.AddEndpoint({.label = "speaker", .friendlyName = L"Speakers (Own)", .containerId = someContainer});
    const auto store = OpenStore("speaker");
    {
        OwnedValue name;
        ASSERT_EQ(store->GetValue(nameKey, name.Out()), S_OK);
        ASSERT_EQ(name.Get().vt, VT_LPWSTR);
        EXPECT_STREQ(name.Get().pwszVal, L"Speakers (Own)");
        OwnedValue container;
        ASSERT_EQ(store->GetValue(containerKey, container.Out()), S_OK);
        ASSERT_EQ(container.Get().vt, VT_CLSID);
        EXPECT_TRUE(IsEqualGUID(*container.Get().puuid, someContainer));
        EXPECT_EQ(service.LiveMemory(), 2U);
    }
    EXPECT_EQ(service.LiveMemory(), 0U);
}

TEST_F(PropertyStoreTest, WhatHasNoValueIsEmpty)
{
    Add("speaker");
    const auto store = OpenStore("speaker");
    constexpr PROPERTYKEY unknownKey = {{0xA45C254E, 0xDF1C, 0x4EFD, {0x80, 0x20, 0x67, 0xD1, 0x46, 0xA8, 0x50, 0xE0}},
                                        15};
    for (const PROPERTYKEY& key : {nameKey, containerKey, unknownKey})
    {
        PROPVARIANT value{};
        value.vt = VT_I4;
        EXPECT_EQ(store->GetValue(key, &value), S_OK);
        EXPECT_EQ(value.vt, VT_EMPTY);
    }
}

TEST_F(PropertyStoreTest, ShowsTheValuesOfThePresent)
{
    Add("speaker");
    const auto store = OpenStore("speaker");
    service.SetFriendlyName("speaker", L"Later");
    OwnedValue name;
    ASSERT_EQ(store->GetValue(nameKey, name.Out()), S_OK);
    EXPECT_STREQ(name.Get().pwszVal, L"Later");
    service.SetFriendlyName("speaker", L"");
    OwnedValue none;
    ASSERT_EQ(store->GetValue(nameKey, none.Out()), S_OK);
    EXPECT_EQ(none.Get().vt, VT_EMPTY);
}

TEST_F(PropertyStoreTest, ListsTheKeysThatHaveAValue)
{
    service.AddEndpoint({.label = "speaker", .friendlyName = L"Speakers"});
    const auto store = OpenStore("speaker");
    DWORD count = 0;
    EXPECT_EQ(store->GetCount(&count), S_OK);
    EXPECT_EQ(count, 1U);
    service.SetContainerId("speaker", someContainer);
    EXPECT_EQ(store->GetCount(&count), S_OK);
    EXPECT_EQ(count, 2U);
    PROPERTYKEY key{};
    EXPECT_EQ(store->GetAt(0, &key), S_OK);
    EXPECT_EQ(key.pid, 14U);
    EXPECT_EQ(store->GetAt(1, &key), S_OK);
    EXPECT_EQ(key.pid, 2U);
    EXPECT_EQ(store->GetAt(2, &key), E_INVALIDARG);
    EXPECT_EQ(key.pid, 0U);
}

TEST_F(PropertyStoreTest, ChecksItsArguments)
{
    Add("speaker");
    const auto store = OpenStore("speaker");
    EXPECT_EQ(store->GetCount(nullptr), E_POINTER);
    EXPECT_EQ(store->GetAt(0, nullptr), E_POINTER);
    EXPECT_EQ(store->GetValue(nameKey, nullptr), E_POINTER);
}

TEST_F(PropertyStoreTest, IsForReadingOnly)
{
    Add("speaker");
    const auto store = OpenStore("speaker");
    const PROPVARIANT value{};
    EXPECT_EQ(store->SetValue(nameKey, value), STG_E_ACCESSDENIED);
    EXPECT_EQ(store->Commit(), STG_E_ACCESSDENIED);
}

TEST_F(PropertyStoreTest, AnswersFailuresWhenTheEndpointIsRemoved)
{
    service.AddEndpoint({.label = "speaker", .friendlyName = L"Speakers"});
    const auto store = OpenStore("speaker");
    service.RemoveEndpoint("speaker");
    DWORD count = 77;
    EXPECT_EQ(store->GetCount(&count), invalidatedResult);
    EXPECT_EQ(count, 0U);
    PROPERTYKEY key{};
    EXPECT_EQ(store->GetAt(0, &key), invalidatedResult);
    OwnedValue value;
    EXPECT_EQ(store->GetValue(nameKey, value.Out()), invalidatedResult);
    EXPECT_EQ(value.Get().vt, VT_EMPTY);
}

} // namespace
