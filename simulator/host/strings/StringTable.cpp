#include "simulator/host/strings/StringTable.h"

#include <stdexcept>

namespace sim
{

namespace
{

StringTable English()
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

StringTable German()
{
    return {
        {L"IDS_AMBREL_RECONNECT_TITLE_NAME", L"Kopfhörerton"},
        {L"IDS_AMBREL_EARPHONE_CHANGE", L"Der Ton von {0} wird jetzt auf {1} wiedergegeben."},
        {L"IDS_AMBREL_EARPHONE_CHANGE_TURN_VOLUME",
         L"Der Ton von {0} wird jetzt auf {1} wiedergegeben. Die Lautstärke dieses Computers wurde verringert."},
        {L"IDS_NEARPAIR_KNOW", L"Verstanden"},
        {L"IDS_ACCESSORIES_RECONNECT", L"Erneut verbinden"},
    };
}

} // namespace

StringTable TableOf(std::string_view culture)
{
    if (culture == "en")
    {
        return English();
    }
    if (culture == "de")
    {
        return German();
    }
    throw std::invalid_argument("there is no string table for the culture \"" + std::string(culture) + "\"");
}

} // namespace sim
