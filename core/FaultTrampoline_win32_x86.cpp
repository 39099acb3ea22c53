// The fault trampoline of the x86 build, whose C++ exceptions unwind by DWARF call-frame
// information rather than by the system's unwinder.
//
// The pushed return address turns the faulting instruction into a caller. The call-frame
// information of the code below it (a saved frame pointer, then that return address) lets the
// unwinder step from the throw into the faulting frame with every preserved register as it was
// at the fault. The frame pointer also lets the trampoline align the stack for its call,
// whatever the alignment at the fault was.
#include "core/FaultTrampoline_win32.h"

asm(R"(
    .text
    .p2align 4
    .globl _KwFaultTrampoline
    .def _KwFaultTrampoline; .scl 2; .type 32; .endef
_KwFaultTrampoline:
    pushl %ecx
    .cfi_startproc
    pushl %ebp
    .cfi_def_cfa_offset 8
    .cfi_offset %ebp, -8
    movl %esp, %ebp
    .cfi_def_cfa_register %ebp
    andl $-16, %esp
    call _KwThrowTranslatedFault
    int3
    .cfi_endproc
)");
