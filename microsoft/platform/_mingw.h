// In front of mingw-w64's header of this name, which takes it that only GCC has attributes, and that a compiler other
// than GCC finds an interface's id in the platform's headers, which do not have it in their structures.
#pragma once

#include_next <_mingw.h>

#undef __attribute__

#undef USE___UUIDOF
#define USE___UUIDOF 0
#undef __CRT_UUID_DECL
#define __CRT_UUID_DECL(type, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)                                               \
    extern "C++"                                                                                                       \
    {                                                                                                                  \
        template <> inline const GUID& __mingw_uuidof<type>()                                                          \
        {                                                                                                              \
            static constexpr GUID id = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}};                                  \
            return id;                                                                                                 \
        }                                                                                                              \
    }
#define __uuidof(type) __mingw_uuidof<__typeof(type)>()
