// Stand-in for the platform's header of the same name: the basic types, each as wide as on the platform. Only wchar_t
// is not: it has 32 bits here, as everywhere on this system, and no source may count on 16.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#define WINAPI
#define STDMETHODCALLTYPE
#define STDAPICALLTYPE
#define STDAPI extern "C" HRESULT

using BOOL = int;
using WINBOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using INT = int;
using UINT = unsigned;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using LONGLONG = std::int64_t;
using FLOAT = float;
using SIZE_T = std::size_t;
using ULONG_PTR = std::uintptr_t;
using HRESULT = std::int32_t;

using CHAR = char;
using LPBOOL = BOOL*;
using PBYTE = BYTE*;
using PDWORD = DWORD*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPCCH = const char*;
using WCHAR = wchar_t;
using LPWSTR = wchar_t*;
using LPCWSTR = const wchar_t*;
using PCWSTR = const wchar_t*;
using LPCWCH = const wchar_t*;

using HANDLE = void*;
using LPHANDLE = HANDLE*;
using HWND = void*;
using LPSECURITY_ATTRIBUTES = void*;
using FARPROC = std::intptr_t (*)();

struct HINSTANCE__; // a loaded library, as the dynamic linker knows it
using HMODULE = HINSTANCE__*;

struct HKEY__; // a key of the registry, which is not there
using HKEY = HKEY__*;
using LSTATUS = LONG;

#define TRUE 1
#define FALSE 0

union LARGE_INTEGER
{
    struct
    {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
};

struct GUID
{
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};
using CLSID = GUID;
using IID = GUID;
using LPCGUID = const GUID*;
using REFGUID = const GUID&;
using REFIID = const GUID&;
using REFCLSID = const GUID&;

inline bool IsEqualGUID(REFGUID one, REFGUID other)
{
    return std::memcmp(&one, &other, sizeof(GUID)) == 0;
}
inline bool IsEqualIID(REFIID one, REFIID other)
{
    return IsEqualGUID(one, other);
}
inline bool IsEqualCLSID(REFCLSID one, REFCLSID other)
{
    return IsEqualGUID(one, other);
}
inline bool operator==(REFGUID one, REFGUID other)
{
    return IsEqualGUID(one, other);
}

// The GUID of an interface: a specialisation for each interface that has one.
template <typename Interface> struct UuidOf;
#define __CRT_UUID_DECL(type, data1, data2, data3, b0, b1, b2, b3, b4, b5, b6, b7)                                     \
    template <> struct UuidOf<type>                                                                                    \
    {                                                                                                                  \
        static constexpr GUID value = {data1, data2, data3, {b0, b1, b2, b3, b4, b5, b6, b7}};                         \
    };
#define __uuidof(type) (UuidOf<type>::value)
