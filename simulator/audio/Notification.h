#pragma once

#include "simulator/timeline/Cause.h"
#include "simulator/timeline/Timeline.h"

#include <windows.h>

#include <mmdeviceapi.h>

#include <string>

namespace sim
{

/// Something that the service reports to its clients. Built with one of the makers; a plain value.
class Notification
{
public:
    static Notification DefaultChanged(EDataFlow flow, ERole role);
    static Notification DefaultChanged(EDataFlow flow, ERole role, const std::string& label, const std::wstring& id);
    static Notification StateChanged(const std::string& label, const std::wstring& id, DWORD state);
    static Notification Added(const std::string& label, const std::wstring& id);
    static Notification Removed(const std::string& label, const std::wstring& id);
    static Notification PropertyChanged(const std::string& label, const std::wstring& id, const PROPERTYKEY& key);

    /// Calls the client's method. What the client throws passes through.
    HRESULT Deliver(IMMNotificationClient& client) const;

    /// As the timeline tells it, such as "OnDeviceStateChanged headset stereo 2".
    std::string Text() const;

    /// The same for programs: what it tells, and what it comes of.
    EntryFacts Facts() const;

private:
    enum class Kind
    {
        Default,
        State,
        Addition,
        Removal,
        Property,
    };

    Notification(Kind kind, const std::string& label, const std::wstring& id)
        : kind_(kind), label_(label), id_(id), cause_(CurrentCause())
    {
    }

    const wchar_t* Id() const { return label_.empty() ? nullptr : id_.c_str(); }

    Kind kind_;
    std::string label_; // empty: no endpoint, the client gets a null id
    std::wstring id_;
    CauseId cause_;
    EDataFlow flow_ = eRender;
    ERole role_ = eConsole;
    DWORD state_ = 0;
    PROPERTYKEY key_{};
};

} // namespace sim
