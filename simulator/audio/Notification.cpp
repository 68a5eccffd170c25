#include "simulator/audio/Notification.h"

#include "simulator/audio/AudioIdentifiers.h"

namespace sim
{

namespace
{

std::string KeyName(const PROPERTYKEY& key)
{
    return key.pid == friendlyNameKey.pid ? "PKEY_Device_FriendlyName" : "PKEY_Device_ContainerId";
}

} // namespace

Notification Notification::DefaultChanged(EDataFlow flow, ERole role)
{
    return DefaultChanged(flow, role, {}, {});
}

Notification Notification::DefaultChanged(EDataFlow flow, ERole role, const std::string& label, const std::wstring& id)
{
    Notification notification(Kind::Default, label, id);
    notification.flow_ = flow;
    notification.role_ = role;
    return notification;
}

Notification Notification::StateChanged(const std::string& label, const std::wstring& id, DWORD state)
{
    Notification notification(Kind::State, label, id);
    notification.state_ = state;
    return notification;
}

Notification Notification::Added(const std::string& label, const std::wstring& id)
{
    return {Kind::Addition, label, id};
}

Notification Notification::Removed(const std::string& label, const std::wstring& id)
{
    return {Kind::Removal, label, id};
}

Notification Notification::PropertyChanged(const std::string& label, const std::wstring& id, const PROPERTYKEY& key)
{
    Notification notification(Kind::Property, label, id);
    notification.key_ = key;
    return notification;
}

HRESULT Notification::Deliver(IMMNotificationClient& client) const
{
    switch (kind_)
    {
    case Kind::Default:
        return client.OnDefaultDeviceChanged(flow_, role_, Id());
    case Kind::State:
        return client.OnDeviceStateChanged(Id(), state_);
    case Kind::Addition:
        return client.OnDeviceAdded(Id());
    case Kind::Removal:
        return client.OnDeviceRemoved(Id());
    case Kind::Property:
        return client.OnPropertyValueChanged(Id(), key_);
    }
    return E_UNEXPECTED;
}

EntryFacts Notification::Facts() const
{
    EntryFacts facts{.kind = "notification", .values = {{"endpoint", label_}}, .cause = cause_};
    if (kind_ == Kind::Default)
    {
        facts.kind = "default notification";
        facts.values.emplace_back("flow", flow_ == eRender ? "render" : "capture");
        facts.values.emplace_back("role", std::to_string(role_));
    }
    else if (kind_ == Kind::State)
    {
        facts.kind = "state notification";
        facts.values.emplace_back("state", std::to_string(state_));
    }
    return facts;
}

std::string Notification::Text() const
{
    const std::string label = label_.empty() ? "null" : label_;
    switch (kind_)
    {
    case Kind::Default:
        return std::string("OnDefaultDeviceChanged ") + (flow_ == eRender ? "render " : "capture ") +
               std::to_string(role_) + " " + label;
    case Kind::State:
        return "OnDeviceStateChanged " + label + " " + std::to_string(state_);
    case Kind::Addition:
        return "OnDeviceAdded " + label;
    case Kind::Removal:
        return "OnDeviceRemoved " + label;
    case Kind::Property:
        return "OnPropertyValueChanged " + label + " " + KeyName(key_);
    }
    return {};
}

} // namespace sim
