#include "simulator/keys/VolumeKeys.h"

#include "simulator/audio/AudioService.h"
#include "simulator/timeline/Cause.h"
#include "simulator/timeline/Timeline.h"

#include <string>

namespace sim
{

namespace
{

constexpr const char* dll = "USER32.dll";
constexpr const char* function = "keybd_event";
constexpr float volumeStep = 0.02F;

void WINAPI Press(BYTE key, BYTE scanCode, DWORD flags, ULONG_PTR extra)
{
    const CauseId id = NewCause();
    Timeline::Instance().Add(
        "keys",
        "keybd_event " + std::to_string(key) + " " + std::to_string(scanCode) + " " + std::to_string(flags) + " " +
            std::to_string(extra),
        {.kind = "key", .values = {{"key", std::to_string(key)}, {"flags", std::to_string(flags)}}, .gives = id});
    const CauseScope scope(id);
    const bool goesDown = (flags & KEYEVENTF_KEYUP) == 0;
    if (key == VK_VOLUME_DOWN && goesDown)
    {
        AudioService::Instance().StepDefaultVolume(-volumeStep);
    }
}

} // namespace

VolumeKeys::VolumeKeys(HMODULE module) : patch_(module, dll, function, &Press) {}

bool VolumeKeys::IsUsedBy(HMODULE module)
{
    return ImportPatch::IsImported(module, dll, function);
}

} // namespace sim
