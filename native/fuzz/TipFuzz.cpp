// The tip: localised texts, names of devices, and answers of all kinds. What it has to say is worked out here anew.
#include "native/fuzz/Harness.h"

#include "feature/HeadsetAudioFeatureHandler.h"
#include "plugin/TextConversion.h"
#include "simulator/host/strings/StringsControl.h"
#include "simulator/host/tips/TipsControl.h"
#include "simulator/timeline/FaultPlan.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>

namespace
{

constexpr const wchar_t* plainId = L"IDS_AMBREL_EARPHONE_CHANGE";
constexpr const wchar_t* turnedId = L"IDS_AMBREL_EARPHONE_CHANGE_TURN_VOLUME";
constexpr std::int32_t buttonClicked = 9;

/// The first of the marks "{<digit>}" given over to the name; none when there is no such mark.
std::optional<std::wstring> Filled(const std::wstring& text, wchar_t digit, const std::wstring& name, std::size_t most)
{
    for (std::size_t at = 0; at + 3 <= text.size(); ++at)
    {
        if (text[at] == L'{' && text[at + 1] == digit && text[at + 2] == L'}')
        {
            std::wstring filled(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at));
            filled.append(name.c_str(), std::min(name.size(), most));
            filled += name.size() > most ? L"..." : L"";
            return filled.append(text, at + 3);
        }
    }
    return std::nullopt;
}

std::wstring Expected(const std::wstring& text, const std::wstring& devName, const std::wstring& toDevName)
{
    const auto half = Filled(text, L'0', devName, 22);
    const auto whole = half ? Filled(*half, L'1', toDevName, 10) : std::nullopt;
    return whole.value_or(std::wstring());
}

/// Byte for byte, but for those that the western code page has elsewhere.
bool IsWidened(const std::wstring& wide, const std::string& narrow)
{
    bool isSame = wide.size() == narrow.size();
    for (std::size_t at = 0; isSame && at < narrow.size(); ++at)
    {
        const auto byte = static_cast<unsigned char>(narrow[at]);
        isSame = (byte >= 0x80 && byte < 0xA0) || wide[at] == static_cast<wchar_t>(byte);
    }
    return isSame;
}

struct Case
{
    bool isVolumeTurned;
    std::wstring text;
    std::wstring devName;
    std::wstring toDevName;
    sim::TipReply reply;
};

std::wstring ReadName(fuzz::Input& input, bool isNarrow)
{
    if (!isNarrow)
    {
        return input.WideText(L"{1}");
    }
    const std::string name = input.Text();
    const std::wstring wide = TextConversion::ToWide(name);
    fuzz::Require(IsWidened(wide, name), "a narrow name made wide");
    return wide;
}

/// The text of up to four parts, each a mark or anything.
std::wstring ReadText(fuzz::Input& input)
{
    std::wstring text;
    for (std::size_t left = input.Pick(5); left > 0; --left)
    {
        const std::size_t kind = input.Pick(4);
        text += kind == 0 ? L"{0}" : kind == 1 ? L"{1}" : input.WideText(L"{");
    }
    return text;
}

Case ReadCase(fuzz::Input& input)
{
    Case read{};
    const std::uint8_t flags = input.Byte();
    read.isVolumeTurned = (flags & 1) != 0;
    read.text = ReadText(input);
    read.devName = ReadName(input, (flags & 2) != 0);
    read.toDevName = ReadName(input, (flags & 4) != 0);
    read.reply.event = (flags & 8) != 0 ? static_cast<std::int32_t>(input.Number()) : buttonClicked;
    read.reply.param = (flags & 16) != 0 ? input.WideText(L"secondBtn") : L"secondBtn";
    return read;
}

void SetTexts(const Case& at)
{
    sim::StringsControl::SetText(at.isVolumeTurned ? turnedId : plainId, at.text);
    sim::StringsControl::SetText(at.isVolumeTurned ? plainId : turnedId, L"the other text");
}

void CheckTip(HeadsetAudioFeatureHandler& handler, const Case& at, const std::wstring& expected)
{
    handler.ShowVoiceChangeTip(at.devName, at.toDevName, at.isVolumeTurned, "1");
    const auto tip = sim::TipsControl::Showing();
    fuzz::Require(tip && tip->content == expected, "the content of the tip");
    handler.ShowVoiceChangeTip(at.toDevName, at.devName, at.isVolumeTurned, "2");
    fuzz::Require(sim::TipsControl::Tips() == 1, "one tip at a time");
    sim::TipsControl::AnswerHere(at.reply);
    const std::size_t left = at.reply.event == buttonClicked ? 0 : 1;
    fuzz::Require(sim::TipsControl::Tips() == left, "a click, and nothing else, closes the tip");
    sim::TipsControl::Reset();
}

} // namespace

/// Input: flags, the localised text, the two names, the answer; see ReadCase.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static auto* const owner =
        new std::shared_ptr<HeadsetAudioFeatureHandler>(std::make_shared<HeadsetAudioFeatureHandler>());
    HeadsetAudioFeatureHandler& handler = **owner;
    fuzz::Input input(bytes, size);
    // Tips that would close by themselves would stay in the library's clock for longer than the input lasts.
    sim::FaultPlan::Instance().FailCall("TipsBase::SetAutoClose", 0, 1);
    const Case at = ReadCase(input);
    SetTexts(at);
    const std::wstring expected = Expected(at.text, at.devName, at.toDevName);
    const std::wstring content =
        HeadsetAudioFeatureHandler::GetVoiceChangeTipContentTxt(at.devName, at.toDevName, at.isVolumeTurned);
    fuzz::Require(content == expected, "the text of the tip");
    CheckTip(handler, at, expected);
    fuzz::ForgetRecords();
    return 0;
}
