// Stands in for what /GS and /guard:cf compile and link code with. Wine checks no calls: it leaves the two pointers as
// they are.
#include <basetsd.h>

extern "C"
{
    UINT_PTR __security_cookie = 0x00002B992DDFA232; // the loader looks for this value, and puts another

    [[noreturn]] __declspec(dllimport) void __cdecl __report_gsfailure(UINT_PTR cookie);

    void __cdecl __security_check_cookie(UINT_PTR cookie)
    {
        if (cookie != __security_cookie)
        {
            __report_gsfailure(cookie);
        }
    }

    void CheckNothing() {}
    void CallUnchecked();
    void (*__guard_check_icall_fptr)() = CheckNothing;
    void (*__guard_dispatch_icall_fptr)() = CallUnchecked;
}

// In assembly: the function to be called is in rax; and the header's table, with names that are the linker's own.
__asm__(R"(
    .text
    .globl CallUnchecked
CallUnchecked:
    jmp rax

    .section .rdata,"dr"
    .balign 8
    .globl _load_config_used
_load_config_used:
    .long 148
    .zero 84
    .quad __security_cookie
    .quad 0, 0
    .quad __guard_check_icall_fptr
    .quad __guard_dispatch_icall_fptr
    .quad __guard_fids_table
    .quad __guard_fids_count
    .long __guard_flags
)");
