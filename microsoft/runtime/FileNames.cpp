// Stands in for the part of std::filesystem that the library links statically, as far as this tree uses it: paths out of
// texts and back. The library's own source needs a newer Windows SDK than mingw-w64's.
#include <xfilesystem_abi.h>

#include <windows.h>

namespace
{

__std_fs_convert_result Result(int length)
{
    return {length, length == 0 ? __std_win_error{GetLastError()} : __std_win_error::_Success};
}

} // namespace

extern "C" __std_code_page __stdcall __std_fs_code_page() noexcept
{
    return __std_code_page{CP_ACP};
}

extern "C" __std_fs_convert_result __stdcall __std_fs_convert_narrow_to_wide(__std_code_page codePage, const char* text,
                                                                             int length, wchar_t* result,
                                                                             int resultLength) noexcept
{
    return Result(
        MultiByteToWideChar(static_cast<UINT>(codePage), MB_ERR_INVALID_CHARS, text, length, result, resultLength));
}

extern "C" __std_fs_convert_result __stdcall __std_fs_convert_wide_to_narrow(__std_code_page codePage,
                                                                             const wchar_t* text, int length,
                                                                             char* result, int resultLength) noexcept
{
    return Result(
        WideCharToMultiByte(static_cast<UINT>(codePage), 0, text, length, result, resultLength, nullptr, nullptr));
}
