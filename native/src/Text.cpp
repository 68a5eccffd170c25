// Conversion between narrow and wide texts.
#include <windows.h>

#include <algorithm>
#include <iterator>
#include <string>

namespace
{

constexpr UINT western = 1252;
constexpr wchar_t unknownWide = 0xFFFD;

// What the bytes 0x80 to 0x9F are in the western code page; the five that it does not assign stay what they are.
constexpr wchar_t westernExtras[] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                     0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                     0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                     0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

wchar_t WesternToWide(unsigned char byte)
{
    return byte >= 0x80 && byte < 0xA0 ? westernExtras[byte - 0x80] : static_cast<wchar_t>(byte);
}

char WideToWestern(wchar_t character)
{
    const auto code = static_cast<std::uint32_t>(character);
    if (code < 0x80 || (code >= 0xA0 && code < 0x100))
    {
        return static_cast<char>(code);
    }
    const auto* const extra = std::find(std::begin(westernExtras), std::end(westernExtras), character);
    return extra == std::end(westernExtras) ? '?' : static_cast<char>(0x80 + (extra - std::begin(westernExtras)));
}

void AppendUtf8(wchar_t character, std::string& out)
{
    auto code = static_cast<std::uint32_t>(character);
    if (code > 0x10FFFF || (code >= 0xD800 && code < 0xE000))
    {
        code = unknownWide;
    }
    if (code < 0x80)
    {
        out += static_cast<char>(code);
        return;
    }
    const int followers = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    const std::uint32_t marks[] = {0, 0xC0, 0xE0, 0xF0};
    out += static_cast<char>(marks[followers] | code >> (6 * followers));
    for (int at = followers - 1; at >= 0; --at)
    {
        out += static_cast<char>(0x80 | (code >> (6 * at) & 0x3F));
    }
}

std::string Narrow(UINT page, const wchar_t* text, std::size_t length)
{
    std::string out;
    out.reserve(length);
    for (std::size_t at = 0; at < length; ++at)
    {
        if (page == CP_UTF8)
        {
            AppendUtf8(text[at], out);
        }
        else
        {
            out += WideToWestern(text[at]);
        }
    }
    return out;
}

/// One character of UTF-8, and how many bytes it takes; one byte that begins none gives the sign for unknown ones.
std::pair<wchar_t, std::size_t> ReadUtf8(const char* text, std::size_t length)
{
    const auto first = static_cast<unsigned char>(*text);
    const std::size_t followers = first < 0x80 ? 0 : first < 0xC2 ? 4 : first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
    if (followers >= length || first > 0xF4 || followers == 4)
    {
        return {unknownWide, 1};
    }
    std::uint32_t code = followers == 0 ? first : first & (0x3FU >> followers);
    for (std::size_t at = 1; at <= followers; ++at)
    {
        const auto byte = static_cast<unsigned char>(text[at]);
        if ((byte & 0xC0) != 0x80)
        {
            return {unknownWide, 1};
        }
        code = code << 6 | (byte & 0x3FU);
    }
    return {static_cast<wchar_t>(code), followers + 1};
}

std::wstring Widen(UINT page, const char* text, std::size_t length)
{
    std::wstring out;
    for (std::size_t at = 0; at < length;)
    {
        const auto [character, bytes] =
            page == CP_UTF8 ? ReadUtf8(text + at, length - at)
                            : std::pair<wchar_t, std::size_t>(WesternToWide(static_cast<unsigned char>(text[at])), 1);
        out += character;
        at += bytes;
    }
    return out;
}

template <typename Character> std::size_t LengthOf(const Character* text, int length)
{
    return length < 0 ? std::char_traits<Character>::length(text) + 1 : static_cast<std::size_t>(length);
}

/// Gives the result as both functions do: its length when there is no place for it, 0 when that is too small.
template <typename Text, typename Character> int Give(const Text& result, Character* out, int size)
{
    const int length = static_cast<int>(result.size());
    if (size == 0)
    {
        return length;
    }
    if (length > size)
    {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    std::copy(result.begin(), result.end(), out);
    return length;
}

bool IsConvertible(UINT page, const void* text, int length)
{
    const bool isKnown = page == CP_ACP || page == western || page == CP_UTF8;
    if (!isKnown || text == nullptr || length == 0)
    {
        SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    return true;
}

} // namespace

int WideCharToMultiByte(UINT page, DWORD, LPCWCH text, int length, LPSTR out, int size, LPCCH, LPBOOL)
{
    return IsConvertible(page, text, length) ? Give(Narrow(page, text, LengthOf(text, length)), out, size) : 0;
}

int MultiByteToWideChar(UINT page, DWORD, LPCCH text, int length, LPWSTR out, int size)
{
    return IsConvertible(page, text, length) ? Give(Widen(page, text, LengthOf(text, length)), out, size) : 0;
}

DWORD CharUpperBuffW(LPWSTR text, DWORD length)
{
    std::transform(text, text + length, text,
                   [](wchar_t character)
                   { return character >= L'a' && character <= L'z' ? character - L'a' + L'A' : character; });
    return length;
}
