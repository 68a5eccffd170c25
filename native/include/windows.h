// Stand-in for the platform's header of the same name: those functions of the kernel that the module, the simulator and
// the tests use. What they do beyond that use is left out. Handles are objects on the heap: one that is lost is found as
// a leak, one that is used after it was closed as a use of freed memory.
#pragma once

#include <wtypes.h>

#define S_OK (static_cast<HRESULT>(0))
#define S_FALSE (static_cast<HRESULT>(1))
#define E_NOTIMPL (static_cast<HRESULT>(0x80004001))
#define E_NOINTERFACE (static_cast<HRESULT>(0x80004002))
#define E_POINTER (static_cast<HRESULT>(0x80004003))
#define E_FAIL (static_cast<HRESULT>(0x80004005))
#define E_UNEXPECTED (static_cast<HRESULT>(0x8000FFFF))
#define E_ACCESSDENIED (static_cast<HRESULT>(0x80070005))
#define E_OUTOFMEMORY (static_cast<HRESULT>(0x8007000E))
#define E_INVALIDARG (static_cast<HRESULT>(0x80070057))
#define STG_E_ACCESSDENIED (static_cast<HRESULT>(0x80030005))
#define CLASS_E_NOAGGREGATION (static_cast<HRESULT>(0x80040110))
#define CLASS_E_CLASSNOTAVAILABLE (static_cast<HRESULT>(0x80040111))
#define REGDB_E_CLASSNOTREG (static_cast<HRESULT>(0x80040154))
#define CO_E_NOTINITIALIZED (static_cast<HRESULT>(0x800401F0))
#define RPC_E_CHANGED_MODE (static_cast<HRESULT>(0x80010106))
#define SUCCEEDED(result) (static_cast<HRESULT>(result) >= 0)
#define FAILED(result) (static_cast<HRESULT>(result) < 0)

#define ERROR_SUCCESS 0U
#define ERROR_FILE_NOT_FOUND 2U
#define ERROR_ACCESS_DENIED 5U
#define ERROR_INVALID_HANDLE 6U
#define ERROR_NOT_ENOUGH_MEMORY 8U
#define ERROR_NOT_SUPPORTED 50U
#define ERROR_INVALID_PARAMETER 87U
#define ERROR_INSUFFICIENT_BUFFER 122U
#define ERROR_MOD_NOT_FOUND 126U
#define ERROR_PROC_NOT_FOUND 127U
#define ERROR_NO_MORE_ITEMS 259U
#define ERROR_NO_SYSTEM_RESOURCES 1450U
#define ERROR_NOT_FOUND 1168U

#define INFINITE 0xFFFFFFFFU
#define WAIT_OBJECT_0 0U
#define WAIT_TIMEOUT 258U
#define WAIT_FAILED 0xFFFFFFFFU
#define DUPLICATE_SAME_ACCESS 2U
#define THREAD_TERMINATE 1U
#define SYNCHRONIZE 0x00100000U
#define KEY_READ 0x20019U
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000001)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000002)))
#define MAX_PATH 260
#define CP_ACP 0U
#define MB_ERR_INVALID_CHARS 8U
#define CP_UTF8 65001U
#define GET_MODULE_HANDLE_EX_FLAG_PIN 1U
#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 2U
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 4U
#define VK_VOLUME_DOWN 0xAE
#define VK_VOLUME_UP 0xAF
#define KEYEVENTF_EXTENDEDKEY 1U
#define KEYEVENTF_KEYUP 2U

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1)))

struct OVERLAPPED // its operations end at once here
{
    HANDLE hEvent;
};

struct SRWLOCK
{
    void* Ptr;
};
// clang-format off
#define SRWLOCK_INIT {nullptr}
// clang-format on

extern "C"
{
    // Each thread has its own; `errno` is another.
    DWORD WINAPI GetLastError();
    void WINAPI SetLastError(DWORD error);

    HANDLE WINAPI CreateEventW(LPSECURITY_ATTRIBUTES, BOOL isManualReset, BOOL isSignalled, LPCWSTR name); // unnamed
    BOOL WINAPI SetEvent(HANDLE event);
    BOOL WINAPI ResetEvent(HANDLE event);
    DWORD WINAPI WaitForSingleObject(HANDLE object, DWORD milliseconds);
    BOOL WINAPI DuplicateHandle(HANDLE process, HANDLE source, HANDLE target, LPHANDLE copy, DWORD, BOOL, DWORD);
    BOOL WINAPI CloseHandle(HANDLE handle);

    HANDLE WINAPI GetCurrentProcess();
    DWORD WINAPI GetCurrentProcessId();
    DWORD WINAPI GetCurrentThreadId();

    // A thread cannot be ended from outside: these two only fail.
    HANDLE WINAPI OpenThread(DWORD access, BOOL, DWORD threadId);
    BOOL WINAPI TerminateThread(HANDLE thread, DWORD exitCode);

    // A lock that nothing of the thread library knows of.
    void WINAPI AcquireSRWLockExclusive(SRWLOCK* lock);
    void WINAPI ReleaseSRWLockExclusive(SRWLOCK* lock);
    void WINAPI AcquireSRWLockShared(SRWLOCK* lock);
    void WINAPI ReleaseSRWLockShared(SRWLOCK* lock);

    // Bytes into a channel; see Channel.h.
    BOOL WINAPI WriteFile(HANDLE file, const void* bytes, DWORD size, PDWORD, OVERLAPPED*);

    void WINAPI Sleep(DWORD milliseconds);
    DWORD WINAPI GetTickCount();
    BOOL WINAPI QueryPerformanceCounter(LARGE_INTEGER* ticks);
    BOOL WINAPI QueryPerformanceFrequency(LARGE_INTEGER* ticksPerSecond);

    // The code pages 1252, which is the ANSI one here, and UTF-8.
    int WINAPI WideCharToMultiByte(UINT page, DWORD, LPCWCH text, int length, LPSTR out, int size, LPCCH, LPBOOL);
    int WINAPI MultiByteToWideChar(UINT page, DWORD, LPCCH text, int length, LPWSTR out, int size);

    DWORD WINAPI CharUpperBuffW(LPWSTR text, DWORD length); // of ASCII alone

    // A library's file is named as on the platform; its own is ".so", beside the program or in the libraries' folder.
    // The platform's own libraries, whatever they are called, are the program's global scope.
    HMODULE WINAPI LoadLibraryW(LPCWSTR name);
    BOOL WINAPI FreeLibrary(HMODULE module);
    HMODULE WINAPI GetModuleHandleW(LPCWSTR name);
    HMODULE WINAPI GetModuleHandleA(LPCSTR name);
    BOOL WINAPI GetModuleHandleExW(DWORD flags, LPCWSTR address, HMODULE* module); // of an address; pins, or only tells
    FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name);

    DWORD WINAPI GetEnvironmentVariableA(LPCSTR name, LPSTR value, DWORD size);

    // There is no registry: no key is found.
    LSTATUS WINAPI RegOpenKeyExW(HKEY parent, LPCWSTR path, DWORD options, DWORD access, HKEY* key);
    LSTATUS WINAPI RegCloseKey(HKEY key);

    void WINAPI keybd_event(BYTE key, BYTE scan, DWORD flags, ULONG_PTR extra); // there is no keyboard
}
