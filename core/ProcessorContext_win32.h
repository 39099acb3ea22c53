#pragma once
// The few registers of a Windows processor context that fault handling reads and sets, named
// for what they hold, for the processor this build is for. Everything else in the fault
// handling is the same on every processor.
#include <windows.h>

#include <cstdint>

namespace kw {

#if defined(_M_X64) || defined(__x86_64__)

// The 64-bit build walks its own processor's stacks. Its traces keep the "(x86)" header all
// the same: reports have always carried it and the tools that read them look for it.
inline constexpr DWORD kStackWalkMachine = IMAGE_FILE_MACHINE_AMD64;

inline std::uintptr_t ProgramCounter(const CONTEXT& context) { return context.Rip; }
inline std::uintptr_t StackPointer(const CONTEXT& context) { return context.Rsp; }
inline std::uintptr_t FramePointer(const CONTEXT& context) { return context.Rbp; }

inline void SetProgramCounterAndStack(CONTEXT& context, std::uintptr_t programCounter, std::uintptr_t stackPointer)
{
    context.Rip = programCounter;
    context.Rsp = stackPointer;
}

// Resumes the thread at `target` with the stack pointer `stackPointer` and `argument` in the
// register that carries a function's first argument. Only volatile registers change, which
// no code after a fault relies on.
inline void ResumeAt(CONTEXT& context, std::uintptr_t target, std::uintptr_t stackPointer, std::uintptr_t argument)
{
    SetProgramCounterAndStack(context, target, stackPointer);
    context.Rcx = argument;
}

// An unmasked floating-point exception stays pending in the status words after its fault;
// left there, the next floating-point instruction would fault again for the same operation.
inline void ClearFloatingPointExceptions(CONTEXT& context)
{
    context.FltSave.StatusWord &= ~0xFF;
    context.FltSave.MxCsr &= ~0x3Fu;
    context.MxCsr &= ~0x3Fu;
}

#elif defined(_M_IX86) || defined(__i386__)

inline constexpr DWORD kStackWalkMachine = IMAGE_FILE_MACHINE_I386;

inline std::uintptr_t ProgramCounter(const CONTEXT& context) { return context.Eip; }
inline std::uintptr_t StackPointer(const CONTEXT& context) { return context.Esp; }
inline std::uintptr_t FramePointer(const CONTEXT& context) { return context.Ebp; }

inline void SetProgramCounterAndStack(CONTEXT& context, std::uintptr_t programCounter, std::uintptr_t stackPointer)
{
    context.Eip = static_cast<DWORD>(programCounter);
    context.Esp = static_cast<DWORD>(stackPointer);
}

inline void ResumeAt(CONTEXT& context, std::uintptr_t target, std::uintptr_t stackPointer, std::uintptr_t argument)
{
    SetProgramCounterAndStack(context, target, stackPointer);
    context.Ecx = static_cast<DWORD>(argument);
}

inline void ClearFloatingPointExceptions(CONTEXT& context)
{
    context.FloatSave.StatusWord &= ~0xFFu;
    // The SSE control and status register sits at byte 24 of the saved extended state.
    if ((context.ContextFlags & CONTEXT_EXTENDED_REGISTERS) == CONTEXT_EXTENDED_REGISTERS)
        context.ExtendedRegisters[24] &= ~0x3F;
}

#else
#error "fault handling knows the processor contexts of x86 and x64 only"
#endif

} // namespace kw
