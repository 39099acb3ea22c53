// The fault trampoline of the x64 build.
//
// The pushed return address turns the faulting instruction into a caller. The unwind data of
// the frame below it (a saved frame pointer, then that return address) lets the system's
// unwinder step from the throw into the faulting frame with every preserved register as it was
// at the fault. The frame pointer also lets the trampoline align the stack for its call,
// whatever the alignment at the fault was.
#include "core/FaultTrampoline_win32.h"

asm(R"(
    .text
    .p2align 4
    .globl KwFaultTrampoline
    .def KwFaultTrampoline; .scl 2; .type 32; .endef
KwFaultTrampoline:
    pushq %rcx
    .def KwFaultThrowFrame; .scl 3; .type 32; .endef
    .seh_proc KwFaultThrowFrame
KwFaultThrowFrame:
    pushq %rbp
    .seh_pushreg %rbp
    movq %rsp, %rbp
    .seh_setframe %rbp, 0
    .seh_endprologue
    andq $-16, %rsp
    subq $32, %rsp
    call KwThrowTranslatedFault
    int3
    .seh_endproc
)");
