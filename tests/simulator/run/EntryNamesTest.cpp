#include "simulator/run/EntryNames.h"

#include <gtest/gtest.h>

namespace sim
{

namespace
{

std::string Named(const std::string& who, const std::string& what, const std::string& kind = {})
{
    EntryNames names;
    names.Learn({.kind = "headset", .values = {{"headset", "11111822610015"}, {"name", "Buds"}}});
    return names.Named(who, what, {.kind = kind, .values = {{"headset", "11111822610015"}}});
}

} // namespace

TEST(EntryNames, StandBeforeClientsMessagesAndModules)
{
    EXPECT_EQ(Named("ipc", "deliver 12144177 10617840"), "deliver feature 12144177 connect-state 10617840");
    EXPECT_EQ(Named("ipc", "IpcProxy 12144176"), "IpcProxy connecter 12144176");
    EXPECT_EQ(Named("service", "publish 12144176 10616832 10617832 null"),
              "publish connecter 12144176 service 10616832 register 10617832 null");
    EXPECT_EQ(Named("ipc", "deliver 5 6"), "deliver 5 6");
}

TEST(EntryNames, LeavePayloadsAlone)
{
    EXPECT_EQ(Named("service", "post 12144176 10617833 10616832 \"10617840 12144176\""),
              "post connecter 12144176 unregister 10617833 service 10616832 \"10617840 12144176\"");
    EXPECT_EQ(Named("service", "message 12144177 10617848 10616832 {1,\"10617840\"}"),
              "message feature 12144177 device-change 10617848 service 10616832 {1,\"10617840\"}");
    EXPECT_EQ(Named("log3", "msg.messageId=10617840"), "msg.messageId=10617840");
}

TEST(EntryNames, StandBeforeRolesStatesAndKeys)
{
    EXPECT_EQ(Named("audio", "SetDefaultEndpoint Buds 0 2 -> 0x00000000", "default set"),
              "SetDefaultEndpoint Buds 0 communications 2 -> 0x00000000");
    EXPECT_EQ(Named("audio", "SetEndpointVisibility Buds stereo 0 -> 0x00000000", "visibility set"),
              "SetEndpointVisibility Buds stereo hidden 0 -> 0x00000000");
    EXPECT_EQ(Named("notify", "OnDeviceStateChanged Buds stereo 2", "state notification"),
              "OnDeviceStateChanged Buds stereo disabled 2");
    EXPECT_EQ(Named("notify", "OnDefaultDeviceChanged render 0 Speakers", "default notification"),
              "OnDefaultDeviceChanged render console 0 Speakers");
    EXPECT_EQ(Named("keys", "keybd_event 174 0 1 0", "key"), "keybd_event volume-down 174 0 1 0");
    EXPECT_EQ(Named("audio", "SetDefaultEndpoint Buds 9 -> 0x80070057", "default set"),
              "SetDefaultEndpoint Buds 9 -> 0x80070057");
}

TEST(EntryNames, StandBeforeHeadsetsKeysInTheHostsReports)
{
    EXPECT_EQ(Named("host", "OnDevConnStateChanged 11111822610015 0", "connection state"),
              "OnDevConnStateChanged Buds 11111822610015 connected 0");
    EXPECT_EQ(Named("host", "OnFeatureStateChanged 11111822610015 9 3", "feature state"),
              "OnFeatureStateChanged Buds 11111822610015 9 on 3");
}

TEST(EntryNames, OfThreadsTellTheClient)
{
    EXPECT_EQ(NamedThread("ipc 12144176"), "ipc connecter");
    EXPECT_EQ(NamedThread("ipc 5"), "ipc 5");
    EXPECT_EQ(NamedThread("worker"), "worker");
}

} // namespace sim
