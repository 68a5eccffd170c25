#include "plugin/Log.h"

#include "plugin/TextConversion.h"

#include <algorithm>

namespace Log
{

namespace
{

// What a stream's locale gives for a byte that is no character. A stream that is given it takes it for its end.
constexpr auto noCharacter = static_cast<wchar_t>(std::char_traits<wchar_t>::eof());

wchar_t Widened(const std::wstringstream& line, char byte)
{
    const wchar_t character = line.widen(byte);
    return character != noCharacter ? character : static_cast<unsigned char>(byte);
}

} // namespace

void InsertNarrow(std::wstringstream& line, std::string_view text)
{
    const bool isOfCharacters =
        std::none_of(text.begin(), text.end(), [&line](char byte) { return line.widen(byte) == noCharacter; });
    if (!isOfCharacters)
    {
        if (const auto whole = TextConversion::ToWideStrictly(text))
        {
            line << *whole;
            return;
        }
    }
    for (const char byte : text)
    {
        line.put(Widened(line, byte));
    }
}

} // namespace Log
