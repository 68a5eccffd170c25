// In the place of the C library's, from which the standard library's streams learn how to widen a byte: on the platform
// every byte is a character, here those outside of ASCII would be none and break a stream. In a file without includes,
// because the C library's header defines it inline.
extern "C" unsigned btowc(int byte) noexcept
{
    constexpr int endOfFile = -1;
    return byte == endOfFile ? 0xFFFFFFFFU : static_cast<unsigned char>(byte);
}
