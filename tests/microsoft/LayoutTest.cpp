// Sizes and offsets as the running program sees them: those of the standard library's types, which the host's records are
// made of, and those of the records, against the tables of the binary contract.
#include "audio/EndpointRecord.h"
#include "taskloop/LoopTask.h"
#include "tests/microsoft/Tables.h"

#include "device/VynTypes.h"
#include "ipc/TagIPCMessageItem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace test
{

namespace
{

using Fields = std::vector<std::pair<std::string, std::string>>; // name, offset; at the end "size", size

template <typename Record, typename Field> std::string Offset(const Record& record, const Field& field)
{
    return std::to_string(reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&record));
}

template <typename Record> std::pair<std::string, std::string> Size(const Record& record)
{
    return {"size", std::to_string(sizeof record)};
}

Fields ExpectedFields(const std::string& table)
{
    Fields fields;
    for (const std::string& line : TableLines("fields/" + table + ".txt"))
    {
        std::istringstream words(line);
        std::string first;
        std::string second;
        words >> first >> second;
        if (first != "class")
        {
            fields.push_back(first == "size" ? std::pair(first, second) : std::pair(second, first));
        }
    }
    return fields;
}

TEST(MicrosoftLayout, OfTheStandardLibrary)
{
    EXPECT_EQ(sizeof(std::string), 32U);
    EXPECT_EQ(sizeof(std::wstring), 32U);
    EXPECT_EQ(sizeof(std::vector<int>), 24U);
    EXPECT_EQ(sizeof(std::deque<int>), 40U);
    EXPECT_EQ((sizeof(std::map<int, int>)), 16U);
    EXPECT_EQ(sizeof(std::set<int>), 16U);
    EXPECT_EQ(sizeof(std::function<void()>), 64U);
    EXPECT_EQ(sizeof(std::unique_ptr<int>), 8U);
    EXPECT_EQ(sizeof(std::shared_ptr<int>), 16U);
    EXPECT_EQ(sizeof(std::weak_ptr<int>), 16U);
    EXPECT_EQ(sizeof(std::mutex), 80U);
    EXPECT_EQ(sizeof(std::recursive_mutex), 80U);
    EXPECT_EQ(sizeof(std::condition_variable), 72U);
    EXPECT_EQ(sizeof(std::thread), 16U);
    EXPECT_EQ(sizeof(std::exception), 24U);
}

TEST(MicrosoftLayout, OfADevice)
{
    const VynCore::VynDevice device;
    const Fields found = {
        {"deviceId", Offset(device, device.deviceId)},       {"baseInfo", Offset(device, device.baseInfo)},
        {"deviceName", Offset(device, device.deviceName)},   {"deviceAlias", Offset(device, device.deviceAlias)},
        {"deviceGroup", Offset(device, device.deviceGroup)}, {"modelId", Offset(device, device.modelId)},
        {"subModelId", Offset(device, device.subModelId)},   {"bluetoothAddr", Offset(device, device.bluetoothAddr)},
        {"deviceType", Offset(device, device.deviceType)},   Size(device)};
    EXPECT_EQ(found, ExpectedFields("VynDevice"));
}

TEST(MicrosoftLayout, OfADevicesBaseInformation)
{
    const VynCore::DeviceBaseInfo info;
    EXPECT_EQ((Fields{{"deviceMacAddr", Offset(info, info.deviceMacAddr)}, Size(info)}),
              ExpectedFields("DeviceBaseInfo"));
}

TEST(MicrosoftLayout, OfAFeaturesState)
{
    const VynCore::DevFeatureStateInfo state;
    const Fields found = {{"featureId", Offset(state, state.featureId)},
                          {"state", Offset(state, state.state)},
                          {"extraText", Offset(state, state.extraText)},
                          Size(state)};
    EXPECT_EQ(found, ExpectedFields("DevFeatureStateInfo"));
}

TEST(MicrosoftLayout, OfAMessage)
{
    const TagIPCMessageItem message{};
    const Fields found = {{"libraryHeader", Offset(message, message.libraryHeader)},
                          {"moduleId", Offset(message, message.moduleId)},
                          {"messageId", Offset(message, message.messageId)},
                          {"libraryRouting", Offset(message, message.libraryRouting)},
                          {"dataLength", Offset(message, message.dataLength)},
                          {"libraryFlags", Offset(message, message.libraryFlags)},
                          {"data", Offset(message, message.data)},
                          Size(message)};
    EXPECT_EQ(found, ExpectedFields("TagIPCMessageItem"));
}

TEST(MicrosoftLayout, OfAnEndpoint)
{
    const EndpointRecord record;
    const Fields found = {{"devicePwszAllID", Offset(record, record.devicePwszAllID)},
                          {"deviceReserved", Offset(record, record.deviceReserved)},
                          {"deviceStateName", Offset(record, record.deviceStateName)},
                          {"pszFlow", Offset(record, record.pszFlow)},
                          {"deviceFriendlyName", Offset(record, record.deviceFriendlyName)},
                          {"containerId", Offset(record, record.containerId)},
                          {"deviceTypeID", Offset(record, record.deviceTypeID)},
                          {"deviceMacAddr", Offset(record, record.deviceMacAddr)},
                          Size(record)};
    EXPECT_EQ(found, ExpectedFields("EndpointRecord"));
}

TEST(MicrosoftLayout, OfATask)
{
    const LoopTask task;
    const Fields found = {
        {"isPeriodic", Offset(task, task.isPeriodic)}, {"remainingTimes", Offset(task, task.remainingTimes)},
        {"eventId", Offset(task, task.eventId)},       {"intervalNs", Offset(task, task.intervalNs)},
        {"lastTimeNs", Offset(task, task.lastTimeNs)}, {"dueTimeNs", Offset(task, task.dueTimeNs)},
        {"callback", Offset(task, task.callback)},     Size(task)};
    EXPECT_EQ(found, ExpectedFields("LoopTask"));
}

} // namespace

} // namespace test
