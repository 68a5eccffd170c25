#include "simulator/service/program/ServiceCommands.h"

#include "simulator/service/Headset.h"
#include "simulator/service/MessageIds.h"
#include "simulator/service/program/CommandWords.h"

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>

namespace sim
{

const char* const serviceCommandHelp =
    R"(connectivity-service --bus NAME [--silent] [--facts NUMBER]

The simulated connectivity service, on the IPC bus of that name. It reads commands from its input, a line each, and
ends at "stop" or at the end of the input. It writes "ready" when clients can connect, a line for whatever it receives
or sends, and for each command "ok" when it has been carried out, or "error" and the reason. With --facts what a line is
about follows behind a tabulator, as JSON; its entries are numbered from NUMBER on.

Numbers are decimal, or hexadecimal after 0x. A text with blanks, or an empty one, stands in double quotes; in these a
backslash stands before a quote or a backslash, and \xNN is a byte.

headset add ID MAC NAME ALIAS GROUP MODEL SUBMODEL [connected|away]
    Makes a headset known, or replaces the one of the same address. MAC: the address's decimal digits.
headset remove MAC
connect-state EVTYPE MAC [MESSAGEID]
    Sends a connection-state update to all clients, as 0xA203F0 unless another id is given. Of a headset that is not
    known only the address is told.
device-change SWITCHTYPE TONAME FROMNAME MAC
    Sends a device-change record to all clients.
connect-answer EVTYPE | connect-answer off
    Plans the event type of the update that answers a connect request. It is off at first.
raw MESSAGEID MODULEID (null | text TEXT) [length LENGTH] [client CLIENTID]
    Sends a message to all clients, or one.
publish MODULEID MESSAGEID (null | text TEXT) [length LENGTH] [client CLIENTID]
publish-unasked MODULEID MESSAGEID (null | text TEXT) [length LENGTH] [client CLIENTID]
    Publishes to the clients that have subscribed, or to all the same.
silent on | silent off
    Silent, it answers and announces nothing.
disconnect
    Closes every connection.
stop
)";

namespace
{

struct RawCommand
{
    std::int32_t first;
    std::int32_t second;
    MessageData data;
    std::int32_t clientId = ConnectivityService::everyClient;
};

RawCommand ReadRaw(CommandWords& words)
{
    RawCommand command{.first = words.Number(), .second = words.Number(), .data = {}};
    if (words.OneOf("text", "null"))
    {
        command.data.bytes = words.Text();
    }
    while (!words.AtEnd())
    {
        if (words.OneOf("length", "client"))
        {
            command.data.length = words.Number();
        }
        else
        {
            command.clientId = words.Number();
        }
    }
    return command;
}

void AddHeadset(ConnectivityService& service, CommandWords& words)
{
    Headset headset;
    for (std::string Headset::*const field :
         {&Headset::deviceId, &Headset::deviceMacAddr, &Headset::name, &Headset::alias, &Headset::group,
          &Headset::modelId, &Headset::subModelId})
    {
        headset.*field = words.Text();
    }
    const bool connected = words.AtEnd() || words.OneOf("connected", "away");
    words.ExpectEnd();
    service.AddHeadset(headset, connected);
}

void ChangeHeadsets(ConnectivityService& service, CommandWords& words)
{
    if (words.OneOf("add", "remove"))
    {
        return AddHeadset(service, words);
    }
    const std::string deviceMacAddr = words.Text();
    words.ExpectEnd();
    service.RemoveHeadset(deviceMacAddr);
}

void SendConnectState(ConnectivityService& service, CommandWords& words)
{
    const std::int32_t evType = words.Number();
    Headset unknown{};
    unknown.deviceMacAddr = words.Text();
    const std::int32_t messageId = words.AtEnd() ? ids::connectState : words.Number();
    words.ExpectEnd();
    service.SendConnectState(messageId, evType, service.FindHeadset(unknown.deviceMacAddr).value_or(unknown));
}

void SendDeviceChange(ConnectivityService& service, CommandWords& words)
{
    const std::int32_t switchType = words.Number();
    const std::string toName = words.Text();
    const std::string fromName = words.Text();
    const std::string deviceMacAddr = words.Text();
    words.ExpectEnd();
    service.SendDeviceChange(switchType, toName, fromName, deviceMacAddr);
}

void SetConnectAnswer(ConnectivityService& service, CommandWords& words)
{
    CommandWords off = words;
    const bool isOff = off.Text() == "off";
    const std::optional<std::int32_t> answer = isOff ? std::nullopt : std::optional(words.Number());
    (isOff ? off : words).ExpectEnd();
    service.SetConnectAnswer(answer);
}

void SetSilent(ConnectivityService& service, CommandWords& words)
{
    const bool silent = words.OneOf("on", "off");
    words.ExpectEnd();
    service.SetSilent(silent);
}

void SendRaw(ConnectivityService& service, CommandWords& words)
{
    const RawCommand command = ReadRaw(words);
    service.SendRaw(command.first, command.second, command.data, command.clientId);
}

void Publish(ConnectivityService& service, CommandWords& words)
{
    const RawCommand command = ReadRaw(words);
    service.Publish(command.first, command.second, command.data, command.clientId);
}

void PublishUnasked(ConnectivityService& service, CommandWords& words)
{
    const RawCommand command = ReadRaw(words);
    service.PublishUnasked(command.first, command.second, command.data, command.clientId);
}

void Disconnect(ConnectivityService& service, CommandWords& words)
{
    words.ExpectEnd();
    service.DisconnectClients();
}

using Command = void (*)(ConnectivityService& service, CommandWords& words);

const std::map<std::string, Command> commands = {
    {"headset", ChangeHeadsets},
    {"connect-state", SendConnectState},
    {"device-change", SendDeviceChange},
    {"connect-answer", SetConnectAnswer},
    {"raw", SendRaw},
    {"publish", Publish},
    {"publish-unasked", PublishUnasked},
    {"silent", SetSilent},
    {"disconnect", Disconnect},
};

} // namespace

bool RunServiceCommand(ConnectivityService& service, std::string_view line)
{
    CommandWords words(line);
    const std::string name = words.Text();
    if (name == "stop")
    {
        words.ExpectEnd();
        return false;
    }
    const auto found = commands.find(name);
    if (found == commands.end())
    {
        throw std::invalid_argument("there is no command " + name);
    }
    found->second(service, words);
    return true;
}

} // namespace sim
