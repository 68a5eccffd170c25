// What the platform tells of audio endpoints and Bluetooth nodes, true or not, through the module's look-ups. What has to
// come of it is worked out here anew.
#include "native/fuzz/Harness.h"

#include "audio/HeadFeatureConnect.h"
#include "audio/ModuleEndpoints.h"
#include "feature/HeadsetAudioFeatureHandler.h"
#include "native/src/ClassRegistration.h"
#include "simulator/audio/DeviceTree.h"
#include "simulator/host/HostControl.h"
#include "tests/audio/FakeDevices.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace
{

constexpr GUID bluetoothClass = {0xE0CBF06C, 0xCD8B, 0x4647, {0xBB, 0x8A, 0x26, 0x3B, 0x43, 0xF0, 0xF9, 0x74}};
constexpr DWORD hardwareIdsKey = 3;
constexpr DWORD containerKey = 38;
constexpr DWORD friendlyNamePid = 14;
constexpr std::size_t mostNodes = 5;
constexpr std::size_t mostEndpoints = 6;

/// A property's value and the call's result.
struct Value
{
    HRESULT result = S_OK;
    VARTYPE type = VT_EMPTY;
    bool isNull = false; // of a type that has a pointer
    std::wstring text{};
    GUID guid{};

    bool HasText() const { return type == VT_LPWSTR && !isNull; }
    bool HasGuid() const { return type == VT_CLSID && !isNull; }
};

struct FuzzedEndpoint
{
    bool isMissing = false; // of the collection: the item fails, or is null
    HRESULT itemResult = S_OK;
    HRESULT idResult = S_OK;
    bool hasId = true;
    std::wstring id{};
    HRESULT stateResult = S_OK;
    DWORD state = DEVICE_STATE_ACTIVE;
    bool hasEndpointInterface = true;
    HRESULT flowResult = S_OK;
    int flow = eRender;
    bool hasStore = true;
    HRESULT storeResult = S_OK;
    Value name{};
    Value container{};

    std::wstring IdTold() const { return SUCCEEDED(idResult) && hasId ? id : std::wstring(); }
};

/// A default endpoint, by its place among the endpoints.
struct FuzzedDefault
{
    HRESULT result = S_OK;
    std::size_t place = mostEndpoints; // beyond the endpoints: null
};

struct Platform
{
    std::vector<sim::DeviceNode> nodes{};
    std::vector<FuzzedEndpoint> endpoints{};
    HRESULT creationResult = S_OK;
    HRESULT enumerationResult = S_OK;
    bool hasCollection = true;
    FuzzedDefault console{};
    FuzzedDefault communications{};
};

Platform platform; // of the input at hand

// --- the platform, as the module sees it ---

class Properties : public test::Fake<IPropertyStore>
{
public:
    explicit Properties(const FuzzedEndpoint& endpoint) : endpoint_(endpoint) {}

    HRESULT STDMETHODCALLTYPE GetCount(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetAt(DWORD, PROPERTYKEY*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetValue(REFPROPERTYKEY key, PROPVARIANT* value) override
    {
        const Value& told = key.pid == friendlyNamePid ? endpoint_.name : endpoint_.container;
        value->vt = told.type;
        value->pwszVal = nullptr;
        if (told.HasText())
        {
            value->pwszVal =
                static_cast<wchar_t*>(test::TaskCopy(told.text.c_str(), (told.text.size() + 1) * sizeof(wchar_t)));
        }
        else if (told.HasGuid())
        {
            value->puuid = static_cast<GUID*>(test::TaskCopy(&told.guid, sizeof told.guid));
        }
        else if (told.type != VT_LPWSTR && told.type != VT_CLSID)
        {
            value->ulVal = told.guid.Data1; // what would be an address, if it were taken for one
        }
        return told.result;
    }
    HRESULT STDMETHODCALLTYPE SetValue(REFPROPERTYKEY, REFPROPVARIANT) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Commit() override { return E_NOTIMPL; }

private:
    const FuzzedEndpoint& endpoint_;
};

class Device : public test::Fake<IMMDevice, IMMEndpoint>
{
public:
    explicit Device(const FuzzedEndpoint& endpoint) : endpoint_(endpoint) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override
    {
        if (!endpoint_.hasEndpointInterface)
        {
            *object = nullptr;
            return E_NOINTERFACE;
        }
        return Fake::QueryInterface(riid, object);
    }
    HRESULT STDMETHODCALLTYPE Activate(REFIID, DWORD, PROPVARIANT*, void**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD, IPropertyStore** store) override
    {
        *store = endpoint_.hasStore ? new Properties(endpoint_) : nullptr;
        return endpoint_.storeResult;
    }
    HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) override
    {
        const std::wstring& told = endpoint_.id;
        *id = endpoint_.hasId ? static_cast<wchar_t*>(test::TaskCopy(told.c_str(), (told.size() + 1) * sizeof(wchar_t)))
                              : nullptr;
        return endpoint_.idResult;
    }
    HRESULT STDMETHODCALLTYPE GetState(DWORD* state) override
    {
        *state = endpoint_.state;
        return endpoint_.stateResult;
    }
    HRESULT STDMETHODCALLTYPE GetDataFlow(EDataFlow* flow) override
    {
        std::memcpy(flow, &endpoint_.flow, sizeof(endpoint_.flow)); // also what is none of the enumeration's values
        return endpoint_.flowResult;
    }

private:
    const FuzzedEndpoint& endpoint_;
};

class Collection : public test::Fake<IMMDeviceCollection>
{
public:
    HRESULT STDMETHODCALLTYPE GetCount(UINT* count) override
    {
        *count = static_cast<UINT>(platform.endpoints.size());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Item(UINT index, IMMDevice** device) override
    {
        const FuzzedEndpoint& endpoint = platform.endpoints.at(index);
        *device = endpoint.isMissing ? nullptr : new Device(endpoint);
        return endpoint.itemResult;
    }
};

class Enumerator : public test::Fake<IMMDeviceEnumerator>
{
public:
    HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow, DWORD, IMMDeviceCollection** devices) override
    {
        *devices = platform.hasCollection ? new Collection() : nullptr;
        return platform.enumerationResult;
    }
    HRESULT STDMETHODCALLTYPE GetDefaultAudioEndpoint(EDataFlow, ERole role, IMMDevice** device) override
    {
        const FuzzedDefault& told = role == eConsole ? platform.console : platform.communications;
        *device = told.place < platform.endpoints.size() ? new Device(platform.endpoints[told.place]) : nullptr;
        return told.result;
    }
    HRESULT STDMETHODCALLTYPE GetDevice(LPCWSTR, IMMDevice**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RegisterEndpointNotificationCallback(IMMNotificationClient*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE UnregisterEndpointNotificationCallback(IMMNotificationClient*) override
    {
        return E_NOTIMPL;
    }
};

class Factory : public test::Fake<IClassFactory>
{
public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID, void** object) override
    {
        *object = platform.creationResult == S_OK ? static_cast<IMMDeviceEnumerator*>(new Enumerator()) : nullptr;
        return platform.creationResult;
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return E_NOTIMPL; }
};

HRESULT GiveFactory(REFCLSID, REFIID, void** object)
{
    *object = static_cast<IClassFactory*>(new Factory());
    return S_OK;
}

// --- the input ---

GUID ReadGuid(fuzz::Input& input)
{
    constexpr GUID builtIn = {0, 0, 0, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};
    const std::size_t kind = input.Pick(5);
    if (kind < 4)
    {
        return kind == 0 ? builtIn : GUID{static_cast<std::uint32_t>(kind), 0xABCD, 0, {}};
    }
    const std::uint32_t parts[] = {input.Number(), input.Number(), input.Number(), input.Number()};
    GUID guid;
    std::memcpy(&guid, parts, sizeof(guid));
    return guid;
}

HRESULT ReadResult(fuzz::Input& input)
{
    const std::size_t kind = input.Pick(16);
    return kind < 12 ? S_OK : kind < 14 ? E_FAIL : kind == 14 ? S_FALSE : E_OUTOFMEMORY;
}

std::vector<BYTE> BytesOf(const void* value, std::size_t size)
{
    const auto* const first = static_cast<const BYTE*>(value);
    return {first, first + size};
}

std::vector<BYTE> ReadContainerProperty(fuzz::Input& input)
{
    const std::size_t kind = input.Pick(8);
    if (kind < 6)
    {
        const GUID guid = ReadGuid(input);
        return BytesOf(&guid, sizeof(guid));
    }
    const std::string text = input.Text();
    std::vector<BYTE> bytes(text.begin(), text.end());
    if (kind == 7)
    {
        bytes.resize(bytes.size() * 40); // around what the module has room for, and beyond
    }
    return bytes;
}

/// Texts one after another, each with a zero behind it, as a list of strings has them; without the last zero at times, and
/// at times not of whole characters.
std::vector<BYTE> ReadHardwareIds(fuzz::Input& input)
{
    std::wstring list;
    for (std::size_t left = input.Pick(3); left > 0; --left)
    {
        list += input.WideText(L"BTHENUM\\Dev_") + L'\0';
    }
    std::vector<BYTE> bytes = BytesOf(list.data(), list.size() * sizeof(wchar_t));
    const std::size_t cut = std::min<std::size_t>(input.Pick(12), bytes.size());
    bytes.resize(bytes.size() - cut);
    return bytes;
}

sim::DeviceNode ReadNode(fuzz::Input& input)
{
    sim::DeviceNode node{.instanceId = L"BTHENUM\\", .setupClass = bluetoothClass};
    node.instanceId += static_cast<wchar_t>(L'a' + input.Pick(26));
    const std::uint8_t flags = input.Byte();
    if ((flags & 7) != 0)
    {
        node.properties[containerKey] = {input.Byte(), ReadContainerProperty(input)};
    }
    if ((flags & 56) != 0)
    {
        node.properties[hardwareIdsKey] = {input.Byte(), ReadHardwareIds(input)};
    }
    return node;
}

Value ReadValue(fuzz::Input& input, VARTYPE usual, const wchar_t* opening)
{
    Value value;
    value.result = ReadResult(input);
    const std::size_t kind = input.Pick(8);
    value.type = kind < 4    ? usual
                 : kind == 4 ? static_cast<VARTYPE>(input.Number())
                 : kind == 5 ? VT_CLSID
                 : kind == 6 ? VT_LPWSTR
                             : VT_EMPTY;
    value.isNull = input.Pick(8) == 7;
    value.guid = ReadGuid(input);
    if (value.HasText())
    {
        value.text = input.WideText(opening);
    }
    return value;
}

FuzzedEndpoint ReadEndpoint(fuzz::Input& input)
{
    FuzzedEndpoint endpoint;
    const std::uint8_t flags = input.Byte();
    endpoint.isMissing = (flags & 7) == 7;
    endpoint.hasId = (flags & 56) != 56;
    endpoint.hasEndpointInterface = (flags & 192) != 192;
    endpoint.itemResult = ReadResult(input);
    endpoint.idResult = ReadResult(input);
    endpoint.id = input.WideText(L"{0.0.0.00000000}.");
    endpoint.stateResult = ReadResult(input);
    const std::size_t state = input.Pick(5);
    endpoint.state = state < 4 ? 1U << state : input.Number();
    endpoint.flowResult = ReadResult(input);
    endpoint.flow = static_cast<int>(input.Pick(4));
    endpoint.storeResult = ReadResult(input);
    endpoint.hasStore = input.Pick(8) != 7;
    endpoint.name = ReadValue(input, VT_LPWSTR, L"Headset (Hands-Free");
    endpoint.container = ReadValue(input, VT_CLSID, L"{");
    return endpoint;
}

FuzzedDefault ReadDefault(fuzz::Input& input)
{
    return {.result = ReadResult(input), .place = input.Pick(mostEndpoints + 1)};
}

Platform ReadPlatform(fuzz::Input& input)
{
    Platform read;
    const std::size_t creation = input.Pick(16);
    read.creationResult = creation < 13 ? S_OK : creation == 13 ? S_FALSE : E_FAIL;
    const std::size_t enumeration = input.Pick(16);
    read.enumerationResult = enumeration == 14 ? E_FAIL : S_OK;
    read.hasCollection = enumeration != 15;
    for (std::size_t left = input.Pick(mostNodes); left > 0; --left)
    {
        read.nodes.push_back(ReadNode(input));
    }
    for (std::size_t left = input.Pick(mostEndpoints); left > 0; --left)
    {
        read.endpoints.push_back(ReadEndpoint(input));
    }
    read.console = ReadDefault(input);
    read.communications = ReadDefault(input);
    return read;
}

// --- what has to come of it ---

std::wstring TextOf(const GUID& guid)
{
    char text[64];
    const auto& rest = guid.Data4;
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", guid.Data1, guid.Data2,
                  guid.Data3, rest[0], rest[1], rest[2], rest[3], rest[4], rest[5], rest[6], rest[7]);
    return std::wstring(text, text + std::strlen(text));
}

/// The key that a hardware id tells; none when it is of no device.
std::optional<std::string> KeyOf(const std::wstring& hardwareId)
{
    const wchar_t mark[] = L"Dev_";
    const auto found = std::search(hardwareId.begin(), hardwareId.end(), mark, mark + 4);
    if (found == hardwareId.end())
    {
        return std::nullopt;
    }
    std::string digits;
    for (auto at = found + 4; at != hardwareId.end(); ++at)
    {
        digits += *at > 0 && *at < 128 ? static_cast<char>(*at) : '?'; // no digit of any kind
    }
    return std::to_string(std::strtoull(digits.c_str(), nullptr, 16));
}

std::wstring FirstIdOf(const sim::DeviceNode& node)
{
    constexpr std::size_t room = 260 * sizeof(wchar_t);
    const auto property = node.properties.find(hardwareIdsKey);
    if (property == node.properties.end() || property->second.value.size() > room)
    {
        return {};
    }
    std::vector<wchar_t> text(room / sizeof(wchar_t) + 1, L'\0');
    std::copy(property->second.value.begin(), property->second.value.end(), reinterpret_cast<BYTE*>(text.data()));
    return text.data();
}

std::string HeadsetIn(const std::wstring& container)
{
    constexpr std::size_t room = 4096;
    std::map<std::wstring, const sim::DeviceNode*> nodes; // the first of several of one id
    for (const sim::DeviceNode& node : platform.nodes)
    {
        nodes.try_emplace(node.instanceId, &node);
    }
    for (const auto& [id, node] : nodes)
    {
        const auto property = node->properties.find(containerKey);
        if (property == node->properties.end() || property->second.value.empty())
        {
            return {}; // the nodes behind it are not looked at
        }
        std::vector<BYTE> bytes = property->second.value;
        GUID guid;
        bytes.resize(std::max(bytes.size(), sizeof(guid)));
        std::memcpy(&guid, bytes.data(), sizeof(guid));
        if (bytes.size() <= room && TextOf(guid) == container)
        {
            if (const auto key = KeyOf(FirstIdOf(*node)))
            {
                return *key;
            }
        }
    }
    return {};
}

EndpointRecord RecordOf(const FuzzedEndpoint& endpoint)
{
    EndpointRecord record;
    record.devicePwszAllID = endpoint.IdTold();
    const std::map<DWORD, std::string> states = {{1, "DEVICE_STATE_ACTIVE"},
                                                 {2, "DEVICE_STATE_DISABLED"},
                                                 {4, "DEVICE_STATE_NOTPRESENT"},
                                                 {8, "DEVICE_STATE_UNPLUGGED"}};
    const auto state = states.find(endpoint.state);
    if (SUCCEEDED(endpoint.stateResult) && state != states.end())
    {
        record.deviceStateName = state->second;
    }
    if (endpoint.hasEndpointInterface && SUCCEEDED(endpoint.flowResult) && endpoint.flow < 2)
    {
        record.pszFlow = endpoint.flow == 0 ? "eRender" : "eCapture";
    }
    if (!endpoint.hasStore)
    {
        return record;
    }
    record.deviceFriendlyName = endpoint.name.HasText() ? endpoint.name.text : std::wstring();
    if (FAILED(endpoint.container.result) || !endpoint.container.HasGuid())
    {
        return record;
    }
    const std::wstring container = TextOf(endpoint.container.guid);
    std::copy(container.begin(), container.end(), record.containerId);
    record.deviceMacAddr = HeadsetIn(container);
    if (record.deviceMacAddr.empty() || record.pszFlow.empty())
    {
        return record;
    }
    const bool isHandsFree =
        record.pszFlow == "eCapture" || record.deviceFriendlyName.find(L"Hands-Free") != std::wstring::npos;
    record.deviceTypeID = isHandsFree ? 2 : 1;
    return record;
}

EndpointList EndpointsExpected()
{
    EndpointList endpoints;
    if (platform.creationResult != S_OK || FAILED(platform.enumerationResult) || !platform.hasCollection)
    {
        return endpoints;
    }
    for (const FuzzedEndpoint& endpoint : platform.endpoints)
    {
        if (!endpoint.isMissing && SUCCEEDED(endpoint.itemResult) && !endpoint.IdTold().empty())
        {
            endpoints.try_emplace(endpoint.IdTold(), RecordOf(endpoint));
        }
    }
    return endpoints;
}

std::wstring IdOf(const FuzzedDefault& told)
{
    const bool isThere = SUCCEEDED(told.result) && told.place < platform.endpoints.size();
    return isThere ? platform.endpoints[told.place].IdTold() : std::wstring();
}

DefaultSet DefaultsExpected()
{
    const std::wstring console = IdOf(platform.console);
    const std::wstring communications = IdOf(platform.communications);
    const bool areKnown = platform.creationResult == S_OK && !console.empty() && !communications.empty();
    return areKnown ? DefaultSet{console, communications} : DefaultSet{};
}

bool IsSame(const EndpointRecord& one, const EndpointRecord& other)
{
    return one.devicePwszAllID == other.devicePwszAllID && one.deviceReserved == other.deviceReserved &&
           one.deviceStateName == other.deviceStateName && one.pszFlow == other.pszFlow &&
           one.deviceFriendlyName == other.deviceFriendlyName &&
           std::wstring(one.containerId) == std::wstring(other.containerId) && one.deviceTypeID == other.deviceTypeID &&
           one.deviceMacAddr == other.deviceMacAddr;
}

// --- the checks ---

void CheckLookUps()
{
    ModuleEndpoints& known = ModuleEndpoints::Instance();
    known.Fill();
    const EndpointList expected = EndpointsExpected();
    fuzz::Require(known.endpointList.size() == expected.size(), "the number of endpoints");
    for (const auto& [id, record] : expected)
    {
        const auto found = known.endpointList.find(id);
        fuzz::Require(found != known.endpointList.end() && IsSame(found->second, record), "an endpoint's record");
    }
    fuzz::Require(known.defaultSet == DefaultsExpected(), "the default endpoints");
}

void CheckSpeaker(HeadsetAudioFeatureHandler& handler)
{
    std::wstring expected;
    for (const auto& [id, record] : ModuleEndpoints::Instance().endpointList)
    {
        const bool isBuiltIn = std::wstring(record.containerId) == L"{00000000-0000-0000-FFFF-FFFFFFFFFFFF}";
        expected = expected.empty() && isBuiltIn ? id : expected;
    }
    EarEndpointInfo speaker;
    handler.GetEarSpeakerPwszAllID(speaker);
    const std::wstring found = speaker.devicePwszAllID ? speaker.devicePwszAllID.get() : L"";
    fuzz::Require(found == expected, "the built-in speaker");
}

void CheckReports(HeadsetAudioFeatureHandler& handler)
{
    std::vector<std::pair<std::string, int>> expected;
    const DefaultSet defaults = DefaultsExpected();
    for (const auto& [id, record] : EndpointsExpected())
    {
        if (record.deviceTypeID == 1)
        {
            const bool isEnabled = record.deviceStateName == "DEVICE_STATE_ACTIVE" && defaults.count(id) > 0;
            expected.emplace_back(record.deviceMacAddr, isEnabled ? 3 : 0);
        }
    }
    handler.RefreshEarDeviceState();
    std::vector<std::pair<std::string, int>> reported;
    for (const sim::FeatureStateReport& report : sim::HostControl::Instance().FeatureStateReports())
    {
        reported.emplace_back(report.device.deviceId, report.info.state);
    }
    fuzz::Require(reported == expected, "the reports of the headsets' states");
}

/// A headset's endpoints; not when it has two of a kind: the id of the first would leak, which is intended.
void CheckHeadset(HeadsetAudioFeatureHandler& handler, const std::string& key)
{
    std::map<int, std::vector<std::wstring>> expected; // by kind
    for (const auto& [id, record] : EndpointsExpected())
    {
        if (record.deviceMacAddr == key && record.deviceTypeID != 0)
        {
            expected[record.deviceTypeID == 1 ? 0 : record.pszFlow == "eRender" ? 1 : 2].push_back(id);
        }
    }
    if (std::any_of(expected.begin(), expected.end(), [](const auto& kind) { return kind.second.size() > 1; }))
    {
        return;
    }
    EarEndpointInfo infos[3];
    handler.GetEarPwszAllID(key, infos[0], infos[1], infos[2]);
    for (int kind = 0; kind < 3; ++kind)
    {
        const std::wstring found = infos[kind].devicePwszAllID ? infos[kind].devicePwszAllID.get() : L"";
        fuzz::Require(found == (expected[kind].empty() ? L"" : expected[kind].front()), "a headset's endpoint");
    }
}

void CheckHardwareId(const std::wstring& hardwareId)
{
    std::string key = "untouched";
    const bool isFound = HeadFeatureConnect::SetInterceptedMac(hardwareId, key);
    const auto expected = KeyOf(hardwareId);
    fuzz::Require(isFound == expected.has_value() && key == expected.value_or("untouched"), "a hardware id's key");
}

void Forget()
{
    platform = {};
    sim::DeviceTree::Clear();
    ModuleEndpoints::Instance().endpointList.clear();
    ModuleEndpoints::Instance().defaultSet.clear();
    fuzz::ForgetRecords();
}

} // namespace

/// Input: how creation and enumeration go, the nodes, the endpoints, the two defaults, then a hardware id and the text of
/// a container; see the functions above.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const bool isRegistered = (native::RegisterClasses(&GiveFactory), true);
    static auto* const handler = new HeadsetAudioFeatureHandler();
    static_cast<void>(isRegistered);
    fuzz::Input input(bytes, size);
    platform = ReadPlatform(input);
    for (const sim::DeviceNode& node : platform.nodes)
    {
        sim::DeviceTree::Add(node);
    }
    CheckLookUps();
    CheckSpeaker(*handler);
    CheckReports(*handler);
    std::set<std::string> keys = {"1"};
    for (const auto& [id, record] : EndpointsExpected())
    {
        keys.insert(record.deviceMacAddr);
    }
    for (const std::string& key : keys)
    {
        if (!key.empty())
        {
            CheckHeadset(*handler, key);
        }
    }
    CheckHardwareId(input.WideText(L"BTHENUM\\Dev_"));
    const std::wstring container = input.WideText(L"{00000000-0000-0000-FFFF-FFFFFFFFFFFF}");
    fuzz::Require(HeadFeatureConnect::GetGUIDBluetoothMac(container) == HeadsetIn(container), "a container's headset");
    fuzz::Require(test::liveFakes == 0, "no object of the platform is kept");
    Forget();
    return 0;
}
