#include "simulator/service/HeadsetTable.h"

#include <algorithm>

namespace sim
{

namespace
{

std::optional<bool> MeansConnected(std::int32_t evType)
{
    switch (evType)
    {
    case 5:
    case 6:
    case 102:
        return true;
    case 3:
    case 4:
    case 7:
    case 12:
    case 101:
        return false;
    default:
        return std::nullopt;
    }
}

auto HasAddress(const std::string& deviceMacAddr)
{
    return [&deviceMacAddr](const auto& row)
    {
        return row.headset.deviceMacAddr == deviceMacAddr;
    };
}

} // namespace

void HeadsetTable::Add(const Headset& headset, bool connected)
{
    const auto found = std::ranges::find_if(rows_, HasAddress(headset.deviceMacAddr));
    if (found != rows_.end())
    {
        *found = {headset, connected};
        return;
    }
    rows_.push_back({headset, connected});
}

void HeadsetTable::Remove(const std::string& deviceMacAddr)
{
    std::erase_if(rows_, HasAddress(deviceMacAddr));
}

std::optional<Headset> HeadsetTable::Find(const std::string& deviceMacAddr) const
{
    const auto found = std::ranges::find_if(rows_, HasAddress(deviceMacAddr));
    return found != rows_.end() ? std::optional(found->headset) : std::nullopt;
}

std::vector<Headset> HeadsetTable::Connected() const
{
    std::vector<Headset> headsets;
    for (const Row& row : rows_)
    {
        if (row.connected)
        {
            headsets.push_back(row.headset);
        }
    }
    return headsets;
}

void HeadsetTable::NoteEvent(const std::string& deviceMacAddr, std::int32_t evType)
{
    const auto connected = MeansConnected(evType);
    const auto found = std::ranges::find_if(rows_, HasAddress(deviceMacAddr));
    if (connected && found != rows_.end())
    {
        found->connected = *connected;
    }
}

} // namespace sim
