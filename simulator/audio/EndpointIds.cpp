#include "simulator/audio/EndpointIds.h"

#include "simulator/audio/EndpointModel.h"
#include "simulator/audio/ServiceCore.h"
#include "simulator/timeline/Timeline.h"

#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <iterator>

namespace sim
{

namespace
{

constexpr std::wstring_view pattern = L"{0.0.#.00000000}.{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";

bool Fits(wchar_t character, wchar_t place)
{
    switch (place)
    {
    case L'#':
        return character == L'0' || character == L'1';
    case L'x':
        return std::iswxdigit(character) != 0;
    default:
        return character == place;
    }
}

} // namespace

std::wstring MakeEndpointId(EDataFlow flow, unsigned number)
{
    wchar_t id[pattern.size() + 1];
    std::swprintf(id, std::size(id), L"{0.0.%d.00000000}.{%08x-5a1d-4c0e-9b37-2f6e1d%06x}", static_cast<int>(flow),
                  number, number);
    return id;
}

bool LooksLikeEndpointId(std::wstring_view id)
{
    return std::equal(id.begin(), id.end(), pattern.begin(), pattern.end(), Fits);
}

std::string EndpointText(const wchar_t* id)
{
    if (id == nullptr)
    {
        return "null";
    }
    const EndpointPointer endpoint =
        ServiceCore::Instance().Read([id](const EndpointModel& model) { return model.ById(id); });
    return endpoint ? endpoint->label : ToUtf8(id);
}

bool IsRole(ERole role)
{
    return role == eConsole || role == eMultimedia || role == eCommunications;
}

} // namespace sim
