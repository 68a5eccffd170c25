#include "simulator/host/wire/Describe.h"

#include <cstdint>
#include <variant>

namespace sim
{

namespace
{

std::string HexByte(unsigned char byte)
{
    constexpr char digits[] = "0123456789ABCDEF";
    return {digits[byte >> 4], digits[byte & 0xF]};
}

std::string Describe(const PackageItem& item)
{
    const auto* const number = std::get_if<std::int32_t>(&item);
    return number != nullptr ? std::to_string(*number) : Quoted(std::get<std::string>(item));
}

} // namespace

std::string Quoted(std::string_view text)
{
    std::string quoted = "\"";
    for (const char character : text)
    {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7F)
        {
            quoted += "\\x" + HexByte(byte);
            continue;
        }
        if (character == '"' || character == '\\')
        {
            quoted.push_back('\\');
        }
        quoted.push_back(character);
    }
    return quoted + "\"";
}

std::string Describe(const std::vector<PackageItem>& items)
{
    std::string text = "{";
    for (const PackageItem& item : items)
    {
        text += (text.size() == 1 ? "" : ",") + Describe(item);
    }
    return text + "}";
}

std::string DescribeBytes(std::string_view bytes)
{
    const auto items = DecodePackage(bytes);
    return items && !items->empty() ? Describe(*items) : "[" + std::to_string(bytes.size()) + " bytes]";
}

std::string DescribePayload(std::string_view bytes)
{
    const auto items = DecodePackage(bytes);
    return items && !items->empty() ? Describe(*items) : Quoted(bytes);
}

} // namespace sim
