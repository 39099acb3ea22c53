// Fault translation of the Windows program built with the Microsoft compiler.
//
// Its runtime has a per-thread structured-exception translator: the frame handler of a C++
// frame calls it on the faulting thread with the faulting context, and what it throws leaves
// the faulting frame as a C++ exception. With /EHa every instruction may throw, so
// destructors and catch clauses run as for any other throw. A translator that returns instead
// leaves the exception to the frames above and, at last, to the process's last report.
#include <windows.h>

#include <typeinfo> // before eh.h, which uses std::type_info

#include <eh.h>

#include "core/ExceptionHandling.h"
#include "core/ExceptionHandling_win32.h"

namespace kw {

namespace {

void TranslateStructuredException(unsigned int, EXCEPTION_POINTERS* pointers)
{
    if (pointers == nullptr || pointers->ExceptionRecord == nullptr)
        throw TranslateFault(nullptr, nullptr);
    const FaultRecord fault = FaultRecordOf(*pointers->ExceptionRecord);
    // No stack is left to throw on.
    if (fault.code == kStackOverflowCode)
        return;
    throw TranslateFault(&fault, pointers->ContextRecord);
}

} // namespace

void InstallTranslator()
{
    _set_se_translator(TranslateStructuredException);
    ReserveStackForLastReport();
}

} // namespace kw
