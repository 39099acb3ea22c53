#pragma once
// Hardware faults (access violations, divisions by zero, illegal instructions) must never end
// the program silently. Every thread that runs program code has a translator that turns a
// fault into a thrown SehException on the faulting thread, with a stack trace, so the
// ordinary catch sites present it like any other failure. What cannot be translated reaches
// one process-wide last report before the process ends.
//
// The platform files supply the capture: on Windows structured exceptions and the debug-help
// library, on POSIX synchronous signals and the unwinder. This file's functions compose the
// same texts from what either platform captured.
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "core/Exception.h"

namespace kw {

// Structured exception codes: the standard status values of the platform that named them.
inline constexpr std::uint32_t kAccessViolationCode = 0xC0000005;
inline constexpr std::uint32_t kInPageErrorCode = 0xC0000006;
inline constexpr std::uint32_t kIllegalInstructionCode = 0xC000001D;
inline constexpr std::uint32_t kArrayBoundsExceededCode = 0xC000008C;
inline constexpr std::uint32_t kFltDenormalOperandCode = 0xC000008D;
inline constexpr std::uint32_t kFltDivideByZeroCode = 0xC000008E;
inline constexpr std::uint32_t kFltInexactResultCode = 0xC000008F;
inline constexpr std::uint32_t kFltInvalidOperationCode = 0xC0000090;
inline constexpr std::uint32_t kFltOverflowCode = 0xC0000091;
inline constexpr std::uint32_t kFltStackCheckCode = 0xC0000092;
inline constexpr std::uint32_t kFltUnderflowCode = 0xC0000093;
inline constexpr std::uint32_t kIntDivideByZeroCode = 0xC0000094;
inline constexpr std::uint32_t kIntOverflowCode = 0xC0000095;
inline constexpr std::uint32_t kPrivilegedInstructionCode = 0xC0000096;
inline constexpr std::uint32_t kStackOverflowCode = 0xC00000FD;
inline constexpr std::uint32_t kDatatypeMisalignmentCode = 0x80000002;
inline constexpr std::uint32_t kBreakpointCode = 0x80000003;

// The access kinds an access violation reports, and the most frames a fault's trace shows.
inline constexpr std::uintptr_t kReadAccess = 0;
inline constexpr std::uintptr_t kWriteAccess = 1;
inline constexpr std::uintptr_t kExecuteAccess = 8;
inline constexpr int kFaultTraceFrames = 200;

inline constexpr std::wstring_view kStackOverflowMarker = L"<--------------------MORE--FRAMES-------------------->\r\n";

// What a fault tells of itself, in the terms of a Windows exception record: the code, the
// instruction that faulted, and the parameters (for an access violation, the access kind and
// the address it touched).
struct FaultRecord {
    std::uint32_t code = 0;
    std::uintptr_t address = 0;
    std::vector<std::uintptr_t> parameters;
};

// One frame of a stack walk. Empty texts when the frame's function or source line is unknown;
// the file is as the debug information gives it, folders and all.
struct StackFrame {
    std::uintptr_t programCounter = 0;
    std::string function;
    std::string file;
    long line = 0;
};

// "ACCESS_VIOLATION" and the like; null for a code the program does not name.
const char* StructuredExceptionName(std::uint32_t code);

// The access-violation kind of a fault (kSehGeneric for everything that is not a read, write
// or prevented execution of 0xC0000005).
int ClassifyAccessViolation(const FaultRecord& fault);

// "NAME (0xcode) at address [0xaddress]\r\n", or the unknown-code form.
std::wstring FaultHeadline(std::uint32_t code, std::uintptr_t address);

// One line of a trace: "[0xpc]  function() -> file.cpp:line\r\n", "-----" for no function,
// no arrow for no line.
std::wstring StackFrameLine(const StackFrame& frame);

// The whole trace text: header, a line per frame, the marker when `frames` holds `maxFrames`
// (written whenever the limit is reached, more frames or not), and the module-base line.
std::wstring FormatStackTrace(const std::vector<StackFrame>& frames, int maxFrames, std::uintptr_t moduleBase);

// The location a frame line (or a one-frame trace) names after " -> ", or the default location
// of a fault when it names none.
SourceLocation ThrowLocationFromTrace(std::wstring_view trace);

// The exception a fault becomes: "[KIND] headline" + the trace of `context`, thrown from the
// fault's source location. A null fault (the platform gave no record) gives the unidentified
// form.
SehException TranslateFault(const FaultRecord* fault, const void* context);

// The last report of a fault nothing could translate, through the presenter: the general
// crash text, then "[EXCEPTION_UNHANDLED] (0xcode) at address [0xaddress]" and the trace.
void ReportUnhandledFault(const FaultRecord* fault, const void* context);

// Platform functions. A context is the processor state as the platform delivers it with a
// fault (Windows: CONTEXT; POSIX: ucontext_t); null gives nothing.
void AppendStackTrace(std::wstring& text, const void* context, int maxFrames);
// The trace of the calling thread from its caller outwards.
void AppendCurrentStackTrace(std::wstring& text, int maxFrames);

// Registers the translator for the calling thread.
void InstallTranslator();
// Installs the process-wide last report, once; later calls do nothing.
void InstallUnhandledFilter();

// The program's thread-start routine: every thread that runs program code is started here, so
// that its faults are translated before the first line of its work runs.
std::thread StartProgramThread(std::function<void()> body);

} // namespace kw
