#pragma once

#include "simulator/service/Headset.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sim
{

/// The headsets that the service knows, in the order in which they were added. Not safe for several threads at once.
class HeadsetTable
{
public:
    void Add(const Headset& headset, bool connected);
    void Remove(const std::string& deviceMacAddr);
    std::optional<Headset> Find(const std::string& deviceMacAddr) const;
    std::vector<Headset> Connected() const;

    /// Notes what an event type means for a headset; nothing for a type that is no change, or an unknown headset.
    void NoteEvent(const std::string& deviceMacAddr, std::int32_t evType);

private:
    struct Row
    {
        Headset headset;
        bool connected;
    };

    std::vector<Row> rows_;
};

} // namespace sim
