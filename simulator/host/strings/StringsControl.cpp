#include "simulator/host/strings/StringsControl.h"

#include "simulator/host/strings/StringTable.h"

#include <cstddef>
#include <mutex>
#include <utility>

namespace sim
{

namespace
{

constexpr const char* firstCulture = "en";

struct Strings
{
    std::mutex mutex;                          // guards the fields below
    std::string culture = firstCulture;        // that of the table
    StringTable texts = TableOf(firstCulture); // with what has been changed
};

Strings& State()
{
    // Never destroyed: threads of the module may still look texts up while the process ends.
    static Strings* const state = new Strings();
    return *state;
}

void Erase(std::wstring& text, std::wstring_view part)
{
    for (std::size_t at = text.find(part); !part.empty() && at != std::wstring::npos; at = text.find(part))
    {
        text.erase(at, part.size());
    }
}

} // namespace

void StringsControl::SetCulture(std::string_view culture)
{
    StringTable texts = TableOf(culture);
    const std::scoped_lock lock(State().mutex);
    State().culture = culture;
    State().texts = std::move(texts);
}

std::string StringsControl::Culture()
{
    const std::scoped_lock lock(State().mutex);
    return State().culture;
}

void StringsControl::LoadTableWithout(std::wstring_view placeholder)
{
    const std::scoped_lock lock(State().mutex);
    State().texts = TableOf(State().culture);
    for (auto& [id, text] : State().texts)
    {
        Erase(text, placeholder);
    }
}

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
    SetCulture(firstCulture);
}

std::wstring StringsControl::Text(std::wstring_view id)
{
    const std::scoped_lock lock(State().mutex);
    const auto found = State().texts.find(id);
    return found != State().texts.end() ? found->second : std::wstring();
}

} // namespace sim
