#include "simulator/audio/BluetoothDevices.h"

#include <windows.h>

#include <devpropdef.h>
#include <gmock/gmock.h>
#include <setupapi.h>

#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using sim::BluetoothDevices;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr GUID bluetoothClass = {0xE0CBF06C, 0xCD8B, 0x4647, {0xBB, 0x8A, 0x26, 0x3B, 0x43, 0xF0, 0xF9, 0x74}};
constexpr DEVPROPKEY hardwareIds = {{0xA45C254E, 0xDF1C, 0x4EFD, {0x80, 0x20, 0x67, 0xD1, 0x46, 0xA8, 0x50, 0xE0}}, 3};
constexpr DEVPROPKEY baseContainerId = {{0xA45C254E, 0xDF1C, 0x4EFD, {0x80, 0x20, 0x67, 0xD1, 0x46, 0xA8, 0x50, 0xE0}},
                                        38};
constexpr GUID someContainer = {0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}};

/// The present devices, as a client sees them.
class PresentDevices
{
public:
    PresentDevices() : set_(SetupDiGetClassDevsW(&bluetoothClass, nullptr, nullptr, DIGCF_PRESENT)) {}
    ~PresentDevices() { SetupDiDestroyDeviceInfoList(set_); }
    PresentDevices(const PresentDevices&) = delete;
    PresentDevices& operator=(const PresentDevices&) = delete;

    std::optional<SP_DEVINFO_DATA> Member(DWORD index) const
    {
        SP_DEVINFO_DATA device{};
        device.cbSize = sizeof device;
        const bool found = SetupDiEnumDeviceInfo(set_, index, &device) != FALSE;
        lastError_ = GetLastError();
        return found ? std::optional(device) : std::nullopt;
    }

    BOOL Read(DWORD index, const DEVPROPKEY& key, void* buffer, DWORD size, DWORD* required) const
    {
        SP_DEVINFO_DATA device = Member(index).value();
        DEVPROPTYPE type = 0;
        const BOOL read =
            SetupDiGetDevicePropertyW(set_, &device, &key, &type, static_cast<BYTE*>(buffer), size, required, 0);
        lastError_ = GetLastError();
        return read;
    }

    /// Of the last Member or Read.
    DWORD LastError() const { return lastError_; }

    std::vector<std::wstring> InstanceIds() const
    {
        std::vector<std::wstring> ids;
        for (DWORD index = 0; auto device = Member(index); ++index)
        {
            wchar_t id[200] = {};
            SetupDiGetDeviceInstanceIdW(set_, &*device, id, 200, nullptr);
            ids.emplace_back(id);
        }
        return ids;
    }

    std::wstring FirstHardwareId(DWORD index) const
    {
        wchar_t text[260] = {};
        DWORD required = 0;
        Read(index, hardwareIds, text, sizeof text, &required);
        return text;
    }

private:
    const HDEVINFO set_;
    mutable DWORD lastError_ = 0;
};

TEST(BluetoothDevicesTest, ThereAreNoNodesAtFirst)
{
    const BluetoothDevices devices;
    const PresentDevices present;
    EXPECT_FALSE(present.Member(0));
    EXPECT_EQ(present.LastError(), 259U); // ERROR_NO_MORE_ITEMS
}

TEST(BluetoothDevicesTest, AHeadsetsNodeIsFoundAsAClientLooksForIt)
{
    BluetoothDevices devices;
    devices.AddHeadset("0A1B2C3D4E5F", someContainer);

    const PresentDevices present;
    ASSERT_TRUE(present.Member(0));
    DWORD size = 0;
    EXPECT_FALSE(present.Read(0, baseContainerId, nullptr, 0, &size));
    EXPECT_EQ(present.LastError(), 122U); // ERROR_INSUFFICIENT_BUFFER
    EXPECT_EQ(size, 16U);

    unsigned char buffer[4096] = {};
    ASSERT_TRUE(present.Read(0, baseContainerId, buffer, sizeof buffer, &size));
    EXPECT_EQ(std::memcmp(buffer, &someContainer, sizeof(GUID)), 0);
    EXPECT_EQ(present.FirstHardwareId(0), L"BTHENUM\\Dev_0A1B2C3D4E5F");
    EXPECT_FALSE(present.Member(1));
}

TEST(BluetoothDevicesTest, AHeadsetsContainerIsMadeFromItsAddress)
{
    BluetoothDevices devices;
    devices.AddHeadset("0A1B2C3D4E5F");

    unsigned char buffer[16] = {};
    DWORD size = 0;
    ASSERT_TRUE(PresentDevices().Read(0, baseContainerId, buffer, sizeof buffer, &size));
    constexpr GUID expected = {0x5EAD5E70, 0, 0x4000, {0x80, 0x00, 0x0A, 0x1B, 0x2C, 0x3D, 0x4E, 0x5F}};
    EXPECT_EQ(std::memcmp(buffer, &expected, sizeof(GUID)), 0);
}

TEST(BluetoothDevicesTest, ANodeWithoutContainerAnswersNotFoundWithSizeZero)
{
    BluetoothDevices devices;
    devices.AddNode({.hardwareIds = {{L"BTHENUM\\Dev_000000000001"}}});

    const PresentDevices present;
    DWORD size = 77;
    EXPECT_FALSE(present.Read(0, baseContainerId, nullptr, 0, &size));
    EXPECT_EQ(present.LastError(), 1168U); // ERROR_NOT_FOUND
    EXPECT_EQ(size, 0U);
}

TEST(BluetoothDevicesTest, ANodeWithoutHardwareIdsHasNoneToRead)
{
    BluetoothDevices devices;
    devices.AddNode({.containerId = someContainer});
    EXPECT_EQ(PresentDevices().FirstHardwareId(0), L"");
}

TEST(BluetoothDevicesTest, AllHardwareIdsAreListed)
{
    BluetoothDevices devices;
    devices.AddNode({.hardwareIds = {{L"BTHENUM\\Dev_000000000001_x", L"BTHENUM\\Second"}}});

    wchar_t list[260] = {};
    DWORD size = 0;
    ASSERT_TRUE(PresentDevices().Read(0, hardwareIds, list, sizeof list, &size));
    EXPECT_EQ(std::wstring(list, size / sizeof(wchar_t)),
              std::wstring(L"BTHENUM\\Dev_000000000001_x\0BTHENUM\\Second\0\0", 43));
}

TEST(BluetoothDevicesTest, NodesAreListedInTheOrderOfAdding)
{
    BluetoothDevices devices;
    devices.AddHeadset("FFFFFFFFFFFF");
    devices.AddNode({});
    devices.AddHeadset("000000000001");

    const PresentDevices present;
    EXPECT_THAT(present.InstanceIds(),
                ElementsAre(L"BTHENUM\\SIM_00000001\\1", L"BTHENUM\\SIM_00000002\\1", L"BTHENUM\\SIM_00000003\\1"));
    EXPECT_EQ(present.FirstHardwareId(0), L"BTHENUM\\Dev_FFFFFFFFFFFF");
    EXPECT_EQ(present.FirstHardwareId(2), L"BTHENUM\\Dev_000000000001");
}

TEST(BluetoothDevicesTest, NodesWithIdsOfTheirOwnAreListedAlphabetically)
{
    BluetoothDevices devices;
    devices.AddNode({.instanceId = L"BTHENUM\\B\\1"});
    devices.AddNode({.instanceId = L"BTHENUM\\C\\1"});
    devices.AddNode({.instanceId = L"BTHENUM\\A\\1"});
    EXPECT_THAT(PresentDevices().InstanceIds(), ElementsAre(L"BTHENUM\\A\\1", L"BTHENUM\\B\\1", L"BTHENUM\\C\\1"));
}

TEST(BluetoothDevicesTest, ARemovedNodeIsNotListed)
{
    BluetoothDevices devices;
    const std::wstring first = devices.AddHeadset("000000000001");
    devices.AddHeadset("000000000002");
    devices.RemoveNode(first);

    const PresentDevices present;
    EXPECT_EQ(present.FirstHardwareId(0), L"BTHENUM\\Dev_000000000002");
    EXPECT_FALSE(present.Member(1));
}

TEST(BluetoothDevicesTest, ARemovedNodeCanBeAddedAgain)
{
    BluetoothDevices devices;
    devices.AddNode({.instanceId = L"BTHENUM\\A\\1", .containerId = someContainer});
    devices.RemoveNode(L"BTHENUM\\A\\1");
    devices.AddNode({.instanceId = L"BTHENUM\\A\\1"});

    DWORD size = 0;
    EXPECT_THAT(PresentDevices().InstanceIds(), ElementsAre(L"BTHENUM\\A\\1"));
    EXPECT_FALSE(PresentDevices().Read(0, baseContainerId, nullptr, 0, &size));
    EXPECT_EQ(size, 0U) << "the property went with the node";
}

TEST(BluetoothDevicesTest, FailuresAreThrown)
{
    BluetoothDevices devices;
    devices.AddNode({.instanceId = L"BTHENUM\\A\\1"});
    EXPECT_THROW(devices.RemoveNode(L"BTHENUM\\B\\1"), std::runtime_error);
    EXPECT_THROW(devices.AddNode({.instanceId = L"BTHENUM\\A\\1"}), std::runtime_error);
}

TEST(BluetoothDevicesTest, NothingIsLeftWhenItEnds)
{
#ifdef DEVICE_NODES_ARE_LISTED
    GTEST_SKIP() << "the nodes are no keys of the registry in this build, so none could be left";
#endif
    const std::wstring key = L"Software\\SimulatedDevices\\" + std::to_wstring(GetCurrentProcessId());
    HKEY opened = nullptr;
    {
        BluetoothDevices devices;
        devices.AddHeadset("000000000001");
        ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, key.c_str(), 0, KEY_READ, &opened), ERROR_SUCCESS);
        RegCloseKey(opened);
    }
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, key.c_str(), 0, KEY_READ, &opened), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows NT", 0, KEY_READ, &opened),
              ERROR_SUCCESS)
        << "the machine's own registry is back";
    RegCloseKey(opened);
    const BluetoothDevices again;
    EXPECT_THAT(PresentDevices().InstanceIds(), IsEmpty());
}

} // namespace
