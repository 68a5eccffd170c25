// The tip that tells of the audio's move and offers to reconnect the headset, and that reconnect.
#include "feature/HeadsetAudioFeatureHandler.h"

#include "audio/ComApartment.h"
#include "plugin/Log.h"
#include "plugin/WeakCallback.h"

#include "device/VynTypes.h"
#include "tips/OrbTipsManager.h"
#include "tips/TipsPopUpWnd.h"
#include "tips/TipsTypes.h"
#include "uistrings/CoheronUtilClass.h"
#include "uistrings/UICulture.h"
#include "uistrings/UIStringLocale.h"

#include <windows.h>

#include <cstddef>
#include <string_view>

namespace
{

using Qva::TipsSdk::EnmReplyEvent;
using Qva::TipsSdk::EnmTipsType;
using Qva::TipsSdk::OrbTipsManager;
using Qva::TipsSdk::PopupPriority;
using Qva::TipsSdk::TipsBase;
using Qva::TipsSdk::TipsPopUpWnd;

constexpr const char* showTag = "HeadsetAudioFeatureHandler::ShowVoiceChangeTip";
constexpr const char* reconnectTag = "HeadsetAudioFeatureHandler::TipHandleCallback::"
                                     "<lambda_45b38742df94e93c75fb4d1ae156629d>::operator ()";
// The tips library's values, known by number.
constexpr auto voiceChange = static_cast<EnmTipsType>(9);
constexpr auto buttonClicked = static_cast<EnmReplyEvent>(9);
constexpr auto normalPriority = static_cast<PopupPriority>(1);
constexpr int tipsId = 100018;
constexpr std::uint64_t closeDelayMs = 5000;
constexpr std::wstring_view iconPath = L"ambrel\\commonResources\\reconnect\\ic_bluetooth.png";
constexpr std::wstring_view reconnectButton = L"secondBtn";
constexpr std::size_t mostOfDevName = 22; // the two limits differ: intended
constexpr std::size_t mostOfToDevName = 10;
constexpr int reconnectTries = 3;
constexpr DWORD reconnectPauseMs = 500;

std::wstring Localised(const wchar_t* id)
{
    return UIEx::UIStringLocale::GetString(id).GetData();
}

std::wstring Shortened(const std::wstring& name, std::size_t most)
{
    return name.size() <= most ? name : name.substr(0, most) + L"...";
}

/// The text with the first occurrence of the placeholder replaced; empty when there is none, which is intended.
std::wstring ReplaceFirst(const std::wstring& text, std::wstring_view placeholder, const std::wstring& name)
{
    const std::size_t place = text.find(placeholder);
    return place == std::wstring::npos ? std::wstring() : std::wstring(text).replace(place, placeholder.size(), name);
}

bool IsShowing(TipsBase* tip)
{
    OrbTipsManager* const manager = OrbTipsManager::GetInstance();
    return manager != nullptr && manager->IsTipsExist(tip);
}

} // namespace

/// What a reply works on: copies, so that no lock is held while the tips library is called.
struct HeadsetAudioFeatureHandler::TipReply
{
    TipsBase* tip;
    std::string deviceMacAddr;
};

HeadsetAudioFeatureHandler::TipReply HeadsetAudioFeatureHandler::ReplyTarget() const
{
    const std::scoped_lock lock(tipMutex);
    return {voiceChangeTip, tipDeviceAddress};
}

void HeadsetAudioFeatureHandler::StoreTipAddress(const std::string& deviceMacAddr)
{
    const std::scoped_lock lock(tipMutex);
    tipDeviceAddress = deviceMacAddr;
}

void HeadsetAudioFeatureHandler::StoreTip(TipsBase* tip)
{
    const std::scoped_lock lock(tipMutex);
    voiceChangeTip = tip;
}

void HeadsetAudioFeatureHandler::ShowVoiceChangeTip(const std::wstring& devName, const std::wstring& toDevName,
                                                    bool volumeFlag, const std::string& deviceMacAddr)
{
    if (IsShowing(ReplyTarget().tip))
    {
        Log::Info(showTag, "ShowVoiceChangeTip already exist");
        return;
    }
    Log::Info(showTag, "Create Voice Change Tip Window");
    // Intended: a late answer to an older tip goes by it as well, and it stays though no tip may come of it.
    StoreTipAddress(deviceMacAddr);
    OrbTipsManager* const manager = OrbTipsManager::GetInstance();
    if (manager == nullptr)
    {
        Log::Info(showTag, "tipsManager is null,return");
        return;
    }
    StoreTip(nullptr); // the older one has gone, and the library may give its place in memory to the next
    TipsBase* const tip = manager->CreateTips(this, voiceChange, tipsId);
    if (tip == nullptr)
    {
        Log::Info(showTag, "tip is null,return");
        return;
    }
    try
    {
        SetUpTip(*tip, devName, toDevName, volumeFlag);
        StoreTip(tip); // not before: a late answer to an older tip must not close it while it is set up
        manager->Show(tip, nullptr);
    }
    catch (...)
    {
        StoreTip(nullptr);
        manager->CloseTips(tip); // one that does not show would never close, and keep all later ones away
        throw;
    }
    Log::Info(showTag, "Create Voice Change Tip Window End"); // the tip may be gone by now
}

/// For the loop's thread, which nothing may escape. Whether the tip did not fail.
bool HeadsetAudioFeatureHandler::TryToShowVoiceChangeTip(const std::wstring& devName, const std::wstring& toDevName,
                                                         bool volumeFlag, const std::string& deviceMacAddr) noexcept
{
    try
    {
        ShowVoiceChangeTip(devName, toDevName, volumeFlag, deviceMacAddr);
        return true;
    }
    catch (...) // the host's fault, or no memory
    {
        Log::Error(showTag, "ShowVoiceChangeTip exception");
        return false;
    }
}

void HeadsetAudioFeatureHandler::SetUpTip(TipsBase& tip, const std::wstring& devName, const std::wstring& toDevName,
                                          bool volumeFlag)
{
    auto& window = static_cast<TipsPopUpWnd&>(tip); // what the library makes for that type
    window.SetPriority(normalPriority);
    window.SetTitleIcon(CoheronUtilClass::GetPopWndResPath().append(iconPath));
    window.SetTitleTxt(Localised(L"IDS_AMBREL_RECONNECT_TITLE_NAME"));
    window.SetContentTxt(GetVoiceChangeTipContentTxt(devName, toDevName, volumeFlag));
    window.SetFirstBtnNameTxt(Localised(L"IDS_NEARPAIR_KNOW"));
    window.SetSecondBtnNameTxt(Localised(L"IDS_ACCESSORIES_RECONNECT"));
    window.SetAutoClose(true);
    window.SetAutoCloseToNotificationCenter(false);
    window.SetCloseDelay(closeDelayMs);
    window.SetReplyCallback(WeakCallback(this, [this](EnmReplyEvent event, const std::wstring& param)
                                         { TipHandleCallback(event, param); }));
}

std::wstring HeadsetAudioFeatureHandler::GetVoiceChangeTipContentTxt(const std::wstring& devName,
                                                                     const std::wstring& toDevName, bool volumeFlag)
{
    Log::Info("HeadsetAudioFeatureHandler::GetVoiceChangeTipContentTxt", "volumeFlag", volumeFlag);
    const std::wstring text = DuiLib::UICulture::GetInstance().GetString(
        volumeFlag ? L"IDS_AMBREL_EARPHONE_CHANGE_TURN_VOLUME" : L"IDS_AMBREL_EARPHONE_CHANGE");
    return ReplaceFirst(ReplaceFirst(text, L"{0}", Shortened(devName, mostOfDevName)), L"{1}",
                        Shortened(toDevName, mostOfToDevName));
}

void HeadsetAudioFeatureHandler::TipHandleCallback(EnmReplyEvent event, const std::wstring& param)
{
    Log::Info("HeadsetAudioFeatureHandler::TipHandleCallback", "clickType : ", static_cast<std::int32_t>(event),
              ", param", param);
    if (event != buttonClicked)
    {
        return;
    }
    OrbTipsManager* const manager = OrbTipsManager::GetInstance();
    if (manager == nullptr)
    {
        return;
    }
    const bool isReconnectWanted = param == reconnectButton; // before the tip is closed: it may own the text
    const TipReply reply = ReplyTarget();
    manager->CloseTips(reply.tip);
    if (isReconnectWanted)
    {
        PostReconnectTask(reply.deviceMacAddr);
    }
}

void HeadsetAudioFeatureHandler::PostReconnectTask(const std::string& deviceMacAddr)
{
    const std::scoped_lock lock(tipMutex); // the loop must not be replaced meanwhile
    if (volumeTaskLoop)
    {
        volumeTaskLoop->PostTask([this, deviceMacAddr] { RunReconnectTask(deviceMacAddr); });
    }
}

void HeadsetAudioFeatureHandler::RunReconnectTask(const std::string& deviceMacAddr) noexcept
{
    ComApartment apartment;
    apartment.EnterSingleThreaded();
    try
    {
        Reconnect(deviceMacAddr);
    }
    catch (...) // the host's fault, or no memory: the reconnect is given up
    {
        Log::Error(reconnectTag, "try reconnect exception");
    }
}

void HeadsetAudioFeatureHandler::Reconnect(const std::string& deviceMacAddr)
{
    Log::Info(reconnectTag, "try reconnect Start ");
    VynCore::VynDevice device;
    device.bluetoothAddr = deviceMacAddr;
    for (int times = 0; times < reconnectTries; ++times)
    {
        EnableFeature(device);
        Sleep(reconnectPauseMs);
        if (CheckDefaultAudioDeviceState(deviceMacAddr))
        {
            Log::Info(reconnectTag, "try reconnect End ");
            return;
        }
        Log::Info(reconnectTag, "try reconnect fail,times = ", times);
    }
}
