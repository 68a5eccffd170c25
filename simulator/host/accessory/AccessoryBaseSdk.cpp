#include "accessory/AccessoryBaseSdk.h"

#include <cstddef>

namespace
{

template <typename Text> Text Shorten(const Text& serial, const Text& stars)
{
    constexpr std::size_t shown = 2;
    return serial.size() <= shown ? serial : stars + serial.substr(serial.size() - shown);
}

} // namespace

std::string AccessoryBaseSdk::GetLastTwoSerialNumber(const std::string& serial)
{
    return Shorten(serial, std::string("**"));
}

std::wstring AccessoryBaseSdk::GetLastTwoSerialNumber(const std::wstring& serial)
{
    return Shorten(serial, std::wstring(L"**"));
}
