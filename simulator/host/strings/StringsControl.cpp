#include "simulator/host/strings/StringsControl.h"

#include <map>
#include <mutex>

namespace sim
{

namespace
{

using Table = std::map<std::wstring, std::wstring, std::less<>>;

Table EnglishTexts()
{
    return {
        {L"IDS_AMBREL_RECONNECT_TITLE_NAME", L"Headset audio"},
        {L"IDS_AMBREL_EARPHONE_CHANGE", L"The audio of {0} has moved to {1}."},
        {L"IDS_AMBREL_EARPHONE_CHANGE_TURN_VOLUME",
         L"The audio of {0} has moved to {1}. The volume of this computer has been turned down."},
        {L"IDS_NEARPAIR_KNOW", L"Got it"},
        {L"IDS_ACCESSORIES_RECONNECT", L"Reconnect"},
    };
}

struct Strings
{
    std::mutex mutex;
    Table texts = EnglishTexts(); // guarded by mutex
};

Strings& State()
{
    // Never destroyed: threads of the module may still look texts up while the process ends.
    static Strings* const state = new Strings();
    return *state;
}

} // namespace

void StringsControl::SetText(std::wstring_view id, std::wstring_view text)
{
    const std::scoped_lock lock(State().mutex);
    State().texts.insert_or_assign(std::wstring(id), std::wstring(text));
}

void StringsControl::RemoveText(std::wstring_view id)
{
    const std::scoped_lock lock(State().mutex);
    State().texts.erase(std::wstring(id));
}

void StringsControl::Reset()
{
    const std::scoped_lock lock(State().mutex);
    State().texts = EnglishTexts();
}

std::wstring StringsControl::Text(std::wstring_view id)
{
    const std::scoped_lock lock(State().mutex);
    const auto found = State().texts.find(id);
    return found != State().texts.end() ? found->second : std::wstring();
}

} // namespace sim
