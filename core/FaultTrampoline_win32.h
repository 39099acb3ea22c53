#pragma once
// The meeting point of the fault translator and the processor-specific trampoline that turns a
// fault into a C++ throw on the faulting thread. Programs built with GCC only: the runtime of
// the other compiler translates faults itself.

extern "C" {

// Never called: a thread whose fault was translated resumes here, with the stack pointer of
// the frame the exception is to leave and, in the register of a function's first argument,
// the address the throw is to appear to return to. The trampoline then looks like a function
// called from that address, which is all the unwinder needs to carry the exception into the
// faulting frame and on to its callers.
void KwFaultTrampoline();

// Throws the fault the calling thread's translator composed. Called by the trampoline only.
[[noreturn]] void KwThrowTranslatedFault();
}
