// Fault translation of the Windows program built with GCC.
//
// The runtime's structured-exception translator (_set_se_translator) is called by the frame
// handlers of the other compiler's code only; GCC code never reaches it. So faults are taken
// before any frame sees them: a vectored exception handler, added once for the process, takes
// the faults of the threads that installed the translator. It composes the exception right
// there, where the context it is given is the faulting one (so the trace starts at the faulting
// instruction), keeps it for the thread and resumes the thread at a trampoline that throws it as
// if the faulting instruction had called a function that throws. The program is built with
// -fnon-call-exceptions, so every instruction that can fault lies in a region of its function's
// exception table, and destructors and catch clauses run as for any other throw.
//
// Left to the process's last report instead:
// - faults of threads that never installed the translator;
// - a stack overflow: no stack is left to throw on. On a translating thread the handler makes
//   the last report itself and ends the process, for the reason given where it does;
// - faults in code other than the program's own, such as a system library, which may handle
//   the fault itself and whose frames the x86 unwinder cannot cross. A call through a bad
//   pointer is the exception: nothing has run at its target, so it is thrown from the call;
// - a fault while this thread composes a translation: a second one would fault the same way;
// - codes that are no fault: C++ throws, debugger output and thread names, breakpoints.
#include <windows.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>

#include "core/ExceptionHandling.h"
#include "core/ExceptionHandling_win32.h"
#include "core/FaultTrampoline_win32.h"
#include "core/ProcessorContext_win32.h"

namespace kw {

namespace {

constexpr std::uint32_t kTranslatedCodes[] = {
    kAccessViolationCode,
    kInPageErrorCode,
    kIllegalInstructionCode,
    kArrayBoundsExceededCode,
    kFltDenormalOperandCode,
    kFltDivideByZeroCode,
    kFltInexactResultCode,
    kFltInvalidOperationCode,
    kFltOverflowCode,
    kFltStackCheckCode,
    kFltUnderflowCode,
    kIntDivideByZeroCode,
    kIntOverflowCode,
    kPrivilegedInstructionCode,
    kDatatypeMisalignmentCode,
};

thread_local bool g_translating = false;
thread_local bool g_composing = false;
// Owned; a plain pointer because the destructors of thread-local objects may run after their
// storage is gone when a thread of a mingw-w64 program ends.
thread_local SehException* g_pendingFault = nullptr;

bool IsTranslated(std::uint32_t code)
{
    return std::find(std::begin(kTranslatedCodes), std::end(kTranslatedCodes), code) != std::end(kTranslatedCodes);
}

bool IsFloatingPointFault(std::uint32_t code) { return code >= kFltDenormalOperandCode && code <= kFltUnderflowCode; }

// The image of the program's own code: the code built to throw from any instruction.
const void* ProgramImage()
{
    static const void* const image = ImageHolding(reinterpret_cast<std::uintptr_t>(&KwThrowTranslatedFault));
    return image;
}

// The frame a translated fault leaves: the address the throw is to appear to return to, and
// the stack pointer of the frame that made that call.
struct ThrowPoint {
    std::uintptr_t returnAddress;
    std::uintptr_t stackPointer;
};

std::optional<ThrowPoint> ThrowPointOf(const CONTEXT& context)
{
    const std::uintptr_t faulting = ProgramCounter(context);
    const std::uintptr_t stack = StackPointer(context);
    // The unwinder and the exception tables look up the instruction before a return address,
    // the call; one past the start of the faulting instruction makes that the faulting one.
    if (ImageHolding(faulting) == ProgramImage())
        return ThrowPoint{faulting + 1, stack};
    // A call to where no code is: the return address the call pushed is still on top.
    if (ImageHolding(faulting) == nullptr) {
        const std::uintptr_t returnAddress = *reinterpret_cast<const std::uintptr_t*>(stack);
        if (ImageHolding(returnAddress) == ProgramImage())
            return ThrowPoint{returnAddress, stack + sizeof(std::uintptr_t)};
    }
    return std::nullopt;
}

LONG CALLBACK TranslateOnFaultingThread(EXCEPTION_POINTERS* pointers)
{
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (!g_translating || g_composing)
        return EXCEPTION_CONTINUE_SEARCH;
    if (record.ExceptionCode == kStackOverflowCode) {
        // Wine commits a thread's whole stack at its start, so after an overflow only the page
        // below the guard page is left, whatever room the thread asked to keep, and the search
        // of the frame handlers uses it up before the last report could run. The last report is
        // made here instead, as early as possible; nothing in the program would handle it.
        EndWithLastReport(pointers);
        return EXCEPTION_CONTINUE_SEARCH;
    }
    if (!IsTranslated(record.ExceptionCode))
        return EXCEPTION_CONTINUE_SEARCH;
    CONTEXT& context = *pointers->ContextRecord;
    const std::optional<ThrowPoint> from = ThrowPointOf(context);
    if (!from)
        return EXCEPTION_CONTINUE_SEARCH;

    g_composing = true;
    try {
        const FaultRecord fault = FaultRecordOf(record);
        delete std::exchange(g_pendingFault, new SehException(TranslateFault(&fault, &context)));
    } catch (...) {
        // Not even the exception could be made: the fault goes on as it came.
        g_composing = false;
        return EXCEPTION_CONTINUE_SEARCH;
    }
    g_composing = false;

    if (IsFloatingPointFault(record.ExceptionCode))
        ClearFloatingPointExceptions(context);
    ResumeAt(context, reinterpret_cast<std::uintptr_t>(&KwFaultTrampoline), from->stackPointer, from->returnAddress);
    return EXCEPTION_CONTINUE_EXECUTION;
}

} // namespace

void InstallTranslator()
{
    // First in the chain, so that no other handler sees the fault of a translating thread.
    static const PVOID handler = AddVectoredExceptionHandler(1, TranslateOnFaultingThread);
    static_cast<void>(handler);
    ReserveStackForLastReport();
    g_translating = true;
}

} // namespace kw

extern "C" void KwThrowTranslatedFault()
{
    const std::unique_ptr<kw::SehException> fault(std::exchange(kw::g_pendingFault, nullptr));
    throw kw::SehException(std::move(*fault));
}
