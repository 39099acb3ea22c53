#pragma once
// What the Windows fault handling shares between the translator of each compiler and the
// stack walk.
#include <windows.h>

#include <cstdint>

#include "core/ExceptionHandling.h"

namespace kw {

// The code, faulting instruction and parameters of a structured exception.
FaultRecord FaultRecordOf(const EXCEPTION_RECORD& record);

// The load address of the executable image that holds `address`; null where no image is mapped.
const void* ImageHolding(std::uintptr_t address);

// Keeps room at the end of the calling thread's stack, so that the last report of a stack
// overflow on it can still run.
void ReserveStackForLastReport();

// When the last report is installed: makes it for this exception and ends the process with the
// exception's code, as after an exception that nothing handled. Otherwise returns.
void EndWithLastReport(EXCEPTION_POINTERS* pointers);

} // namespace kw
