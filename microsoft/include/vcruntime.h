// Stands in for the compiler's own header of this name: what the standard library takes from it.
#pragma once

#include <corecrt.h> // the C runtime's; the names below are not in it
#include <errno.h>

#define _VCRTIMP __declspec(dllimport)
#define _CRTIMP2 __declspec(dllimport)
#define _MRTIMP2 __declspec(dllimport)
#define _CRT_SATELLITE_1 __declspec(dllimport)
#define _CRT_SATELLITE_2 __declspec(dllimport)
#define _CRT_SATELLITE_CODECVT_IDS __declspec(dllimport)
#define _CRT_SATELLITE_CODECVT_IDS_NOIMPORT
#define __CRTDECL __cdecl
#define __CLRCALL_OR_CDECL __cdecl
#define __CLRCALL_PURE_OR_CDECL __cdecl
#define __CLRCALL_PURE_OR_STDCALL __stdcall
#define __CLR_OR_THIS_CALL
#define _PGLOBAL

#define _CRT_PACKING 8
#define _CRT_GUARDOVERFLOW
#define _CRT_INSECURE_DEPRECATE(replacement)
#define _CRT_WIDE_(text) L##text
#define _CRT_WIDE(text) _CRT_WIDE_(text)
#define _CRT_SECURE_INVALID_PARAMETER(text) _invalid_parameter_noinfo_noreturn()

// What of the language the compiler is asked for: C++20.
#define _HAS_CXX17 1
#define _HAS_CXX20 1
#define _HAS_EXCEPTIONS 1
#define _HAS_NODISCARD 1
#define _NODISCARD [[nodiscard]]
#define _MSVC_CONSTEXPR [[msvc::constexpr]]

extern "C" [[noreturn]] _ACRTIMP void __cdecl _invalid_parameter_noinfo_noreturn();
