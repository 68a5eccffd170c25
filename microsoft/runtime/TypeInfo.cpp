// Stands in for the parts of type information that each module has: the table of the class, to which every type's
// record points, and the list of the names that the runtime has made.
#include <typeinfo>

struct alignas(16) __type_info_node
{
    void* head[2];
};
__type_info_node __type_info_root_node;

// In assembly, since the compiler takes the table for its own. Nobody destroys a type's record.
__asm__(R"(
    .section .rdata,"dr"
    .balign 8
    .quad 0
    .globl "??_7type_info@@6B@"
"??_7type_info@@6B@":
    .quad _purecall
)");
