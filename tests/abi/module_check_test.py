#!/usr/bin/env python3
"""Tests of the check itself: changes of the contract, made in a copy of the module, have to be complained of by name.

    module_check_test.py TARGETS FOLDER [UNITTEST-ARGUMENT...]"""

import re
import shutil
import sys
import unittest
from pathlib import Path

import check_module
import microsoft

COPIED = ("audio", "connector", "feature", "hostsdk", "plugin", "taskloop")

# The sources that export something.
EXPORTING = ("plugin/Exports.cpp", "plugin/ProviderInterfaces.cpp", "taskloop/TaskLoop.cpp")


class Tree:
    """A copy of the module in a folder of its own, in which a file can be changed for a while."""

    def __init__(self, targets, folder):
        self.folder = Path(folder) / "tree"
        self.work = Path(folder) / "work"
        shutil.rmtree(folder, ignore_errors=True)
        for name in COPIED:
            shutil.copytree(targets[0].root / name, self.folder / name)
        self.targets = [target.moved_to(self.folder) for target in targets]

    def complaints(self, sources=(), slots=(), fields=(), exports=False):
        """What the check says of these sources and these classes."""
        chosen = [target.with_only(sources) for target in self.targets]
        contract = check_module.Contract(slots=slots, fields=fields, exports=exports)
        return contract.complaints(check_module.Module(chosen, self.work, contract))


class ModuleCheckTest(unittest.TestCase):
    tree = None
    maxDiff = None

    def change(self, file, pattern, replacement):
        """Changes a file of the tree until the test ends."""
        path = self.tree.folder / file
        original = path.read_text()
        changed, count = re.subn(pattern, replacement, original, flags=re.M)
        self.assertEqual(count, 1, f"{pattern} is {count} times in {file}")
        path.write_text(changed)
        self.addCleanup(path.write_text, original)

    def test_the_unchanged_module_agrees(self):
        found = self.tree.complaints(
            sources=[*EXPORTING, "audio/CMMNotificationClient.cpp", "audio/EndpointSwitching.cpp",
                     "connector/HeadsetConnector.cpp", "plugin/HeadsetAdapterPlugin.cpp"],
            slots=["CMMNotificationClient", "HeadsetAdapterPlugin", "HeadsetConnector",
                   "PolicyConfig::IDefaultEndpointPolicy", "TaskLoop", "VynCore::IDevConnecter", "VynCore::IProvider"],
            fields=["EndpointRecord", "HeadsetAdapterPlugin", "LoopTask", "OwnedHandle", "TagIPCMessageItem",
                    "TaskLoop", "VynCore::DevFeatureStateInfo"],
            exports=True)
        self.assertEqual(found, [])

    def test_two_operations_that_change_places(self):
        self.change("hostsdk/device/IProvider.h", r"^    virtual VynProviderType GetType\(\) = 0;$", "")
        self.change("hostsdk/device/IProvider.h", r"^    virtual std::string GetKeyword\(\) = 0;$",
                    r"\g<0>\n    virtual VynProviderType GetType() = 0;")
        self.assertEqual(
            self.tree.complaints(sources=["plugin/ProviderInterfaces.cpp"], slots=["VynCore::IProvider"]),
            ["VynCore::IProvider, slot 1: expected VynCore::VynProviderType VynCore::IProvider::GetType() [pure],"
             " found std::string VynCore::IProvider::GetKeyword() [pure]",
             "VynCore::IProvider, slot 2: expected std::string VynCore::IProvider::GetKeyword() [pure],"
             " found VynCore::VynProviderType VynCore::IProvider::GetType() [pure]"])

    def test_they_change_places_in_an_implementation_too(self):
        self.change("hostsdk/device/IDevConnecter.h", r"^    virtual std::int32_t DisconnectDev.*\n", "")
        self.change("hostsdk/device/IDevConnecter.h", r"^    virtual std::int32_t ConnectDev.*$",
                    r"    virtual std::int32_t DisconnectDev(const VynDevice& device) = 0;\n\g<0>")
        found = self.tree.complaints(sources=["connector/HeadsetConnector.cpp"], slots=["HeadsetConnector"])
        self.assertEqual(
            found[0],
            "HeadsetConnector (table VynCore::IDevConnecter), slot 1: expected std::int32_t"
            " HeadsetConnector::ConnectDev(const VynCore::VynDevice &), found std::int32_t"
            " HeadsetConnector::DisconnectDev(const VynCore::VynDevice &)")
        self.assertEqual(len(found), 2)

    def test_an_operation_more(self):
        self.change("audio/CMMNotificationClient.h", r"^private:$", "    virtual void Extra() {}\n\nprivate:")
        self.assertEqual(
            self.tree.complaints(sources=["audio/CMMNotificationClient.cpp"], slots=["CMMNotificationClient"]),
            ["CMMNotificationClient (table IUnknown), slot 8: expected no operation,"
             " found void CMMNotificationClient::Extra()"])

    def test_an_operation_less(self):
        self.change("hostsdk/device/VynProviderPlugin.h", r"^    virtual (bool IsEnabled)", r"    \1")
        self.assertEqual(
            self.tree.complaints(sources=["plugin/HeadsetAdapterPlugin.cpp"], slots=["HeadsetAdapterPlugin"]),
            ["HeadsetAdapterPlugin (table VynProviderPlugin), slot 3: expected bool VynProviderPlugin::IsEnabled(),"
             " found no operation"])

    def test_an_operation_of_another_result(self):
        self.change("hostsdk/device/VynProviderPlugin.h", r"^    virtual bool IsEnabled\(\) { return true; }",
                    "    virtual int IsEnabled() { return 1; }")
        self.assertEqual(
            self.tree.complaints(sources=["plugin/HeadsetAdapterPlugin.cpp"], slots=["HeadsetAdapterPlugin"]),
            ["HeadsetAdapterPlugin (table VynProviderPlugin), slot 3: expected bool VynProviderPlugin::IsEnabled(),"
             " found int VynProviderPlugin::IsEnabled()"])

    def test_a_policy_slot_that_moves(self):
        self.change("audio/PolicyConfig.h", "setDefaultEndpointSlot = 12", "setDefaultEndpointSlot = 13")
        found = self.tree.complaints(sources=["audio/EndpointSwitching.cpp"],
                                     slots=["PolicyConfig::IDefaultEndpointPolicy"])
        self.assertEqual(len(found), 2)
        self.assertIn("PolicyConfig::IDefaultEndpointPolicy (table IUnknown), slot 12: expected HRESULT"
                      " PolicyConfig::IDefaultEndpointPolicy::SetDefaultEndpoint(LPCWSTR, ERole) [pure], found ",
                      found[0])

    def test_a_class_without_its_virtual_table(self):
        self.change("taskloop/TaskLoop.h", r"TASK_LOOP_API virtual ~TaskLoop", "TASK_LOOP_API ~TaskLoop")
        self.assertEqual(
            self.tree.complaints(sources=["taskloop/TaskLoop.cpp"], slots=["TaskLoop"]),
            ["TaskLoop: the module has no such class, or no source makes its virtual tables"])

    def test_two_fields_that_change_places(self):
        self.change("audio/EndpointRecord.h", r"^    std::string deviceReserved;.*\n", "")
        self.change("audio/EndpointRecord.h", r"^    std::string deviceStateName;.*$",
                    r"\g<0>\n    std::string deviceReserved;")
        self.assertEqual(
            self.tree.complaints(fields=["EndpointRecord"]),
            ["EndpointRecord, member 1: expected `32 deviceReserved std::string`,"
             " found `~ deviceStateName std::string`",
             "EndpointRecord, member 2: expected `64 deviceStateName std::string`,"
             " found `~ deviceReserved std::string`"])

    def test_a_field_less_moves_the_ones_behind_it(self):
        self.change("hostsdk/ipc/TagIPCMessageItem.h", r"^    std::int32_t libraryFlags;.*\n", "")
        found = self.tree.complaints(fields=["TagIPCMessageItem"])
        self.assertIn("TagIPCMessageItem, member 5: expected `60 libraryFlags std::int32_t`, found `64 data char *`",
                      found)

    def test_a_field_of_another_type(self):
        self.change("hostsdk/device/VynTypes.h", r"std::int32_t state = 0;", "std::int64_t state = 0;")
        self.assertEqual(
            self.tree.complaints(fields=["VynCore::DevFeatureStateInfo"]),
            ["VynCore::DevFeatureStateInfo, member 1: expected `4 state std::int32_t`, found `8 state std::int64_t`",
             "VynCore::DevFeatureStateInfo, member 2: expected `8 extraText std::wstring`,"
             " found `16 extraText std::wstring`"])

    def test_a_field_more_in_a_record(self):
        self.change("hostsdk/device/VynTypes.h", r"^    std::wstring extraText;$",
                    r"\g<0>\n    std::int32_t more = 0;")
        self.assertEqual(
            self.tree.complaints(fields=["VynCore::DevFeatureStateInfo"]),
            ["VynCore::DevFeatureStateInfo, member 3: expected `size 40`, found `~ more std::int32_t`",
             "VynCore::DevFeatureStateInfo, member 4: expected `none`, found `size ~`"])

    def test_a_field_that_is_given_another_name(self):
        self.change("plugin/HeadsetAdapterPlugin.h", r"HeadsetConnector> connector;", "HeadsetConnector> connecter;")
        self.assertEqual(
            self.tree.complaints(fields=["HeadsetAdapterPlugin"]),
            ["HeadsetAdapterPlugin, member 1: expected `16 connector std::shared_ptr<HeadsetConnector>`,"
             " found `16 connecter std::shared_ptr<HeadsetConnector>`"])

    def test_a_handle_that_is_not_just_a_handle(self):
        self.change("plugin/OwnedHandle.h", r"^    HANDLE handle_ = nullptr;$",
                    r"\g<0>\n    [[maybe_unused]] int uses = 0;")
        self.assertEqual(
            self.tree.complaints(fields=["OwnedHandle"]),
            ["OwnedHandle, member 1: expected `size 8`, found `8 uses int`",
             "OwnedHandle, member 2: expected `none`, found `size 16`"])

    def test_a_private_member_after_the_listed_ones_is_the_modules_own_business(self):
        self.change("taskloop/TaskLoop.h", r"^    const std::shared_ptr<std::condition_variable> wakeCondition = .*$",
                    r"\g<0>\n    std::uint64_t privateCount = 0;")
        self.assertEqual(self.tree.complaints(fields=["TaskLoop"]), [])

    def test_a_private_member_among_the_listed_ones_is_not(self):
        self.change("taskloop/TaskLoop.h", r"^    const std::shared_ptr<std::condition_variable> wakeCondition = .*$",
                    r"    std::uint64_t privateCount = 0;\n\g<0>")
        self.assertEqual(
            self.tree.complaints(fields=["TaskLoop"]),
            ["TaskLoop, member 11: expected `272 wakeCondition std::shared_ptr<std::condition_variable>`,"
             " found `~ privateCount std::uint64_t`"])

    def test_an_export_less(self):
        self.change("taskloop/TaskLoop.h", r"TASK_LOOP_API void WakeUp", "void WakeUp")
        self.assertEqual(
            self.tree.complaints(sources=EXPORTING, exports=True),
            ["exports: expected, and missing: private: void TaskLoop::WakeUp(void)  [?WakeUp@TaskLoop@@AEAAXXZ]"])

    def test_an_export_more(self):
        self.change("taskloop/TaskLoop.h", r"^    void StartThread\(\) ",
                    "    TASK_LOOP_API void StartThread() ")
        self.assertEqual(
            self.tree.complaints(sources=EXPORTING, exports=True),
            ["exports: found, and not expected: private: void TaskLoop::StartThread(void)"
             "  [?StartThread@TaskLoop@@AEAAXXZ]"])

    def test_an_export_of_another_signature(self):
        self.change("hostsdk/device/IDevConnecter.h", r"^    virtual DeviceType GetDevType\(\)",
                    "    virtual DeviceType GetDevType() const")
        found = self.tree.complaints(sources=["plugin/Exports.cpp", "taskloop/TaskLoop.cpp",
                                              "plugin/ProviderInterfaces.cpp"], exports=True)
        self.assertEqual(len(found), 2)
        self.assertIn("exports: found, and not expected: public: virtual VynCore::DeviceType"
                      " VynCore::IDevConnecter::GetDevType(void) const", found[1])

    def test_a_c_export_more(self):
        self.change("plugin/Exports.cpp", r"\Z",
                    '\nextern "C" __declspec(dllexport) int Version_HeadsetAdapterPlugin()\n{\n    return 1;\n}\n')
        self.assertEqual(self.tree.complaints(sources=EXPORTING, exports=True),
                         ["exports: found, and not expected: Version_HeadsetAdapterPlugin"])

    def test_a_warning(self):
        self.change("plugin/ModulePin.cpp", r"\Z", "\nstatic int nobodyNeedsIt = 0;\n")
        with self.assertRaisesRegex(microsoft.CompileError, r"ModulePin\.cpp does not compile.*(\n.*)*nobodyNeedsIt"):
            self.tree.complaints(sources=["plugin/ModulePin.cpp"])

    def test_a_host_enumeration_of_another_size(self):
        self.change("hostsdk/device/VynTypes.h", r"enum class DevChannelType : std::int32_t",
                    "enum class DevChannelType : std::int64_t")
        with self.assertRaisesRegex(microsoft.CompileError, r"DevChannelType"):
            self.tree.complaints(fields=["LoopTask"])


if __name__ == "__main__":
    ModuleCheckTest.tree = Tree(microsoft.read_targets(sys.argv[1]), sys.argv[2])
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
