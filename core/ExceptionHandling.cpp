#include "core/ExceptionHandling.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

#include "core/ExceptionPresenter.h"
#include "core/ReportLocations.h"
#include "os/ResourceText.h"
#include "res/TextIds.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

struct CodeName {
    std::uint32_t code;
    const char* name;
};

constexpr CodeName kCodeNames[] = {
    {kAccessViolationCode, "ACCESS_VIOLATION"},
    {kInPageErrorCode, "IN_PAGE_ERROR"},
    {0xC0000008, "INVALID_HANDLE"},
    {kIllegalInstructionCode, "ILLEGAL_INSTRUCTION"},
    {0xC0000025, "NONCONTINUABLE_EXCEPTION"},
    {0xC0000026, "INVALID_DISPOSITION"},
    {kArrayBoundsExceededCode, "ARRAY_BOUNDS_EXCEEDED"},
    {kFltDenormalOperandCode, "FLT_DENORMAL_OPERAND"},
    {kFltDivideByZeroCode, "FLT_DIVIDE_BY_ZERO"},
    {kFltInexactResultCode, "FLT_INEXACT_RESULT"},
    {kFltInvalidOperationCode, "FLT_INVALID_OPERATION"},
    {kFltOverflowCode, "FLT_OVERFLOW"},
    {kFltStackCheckCode, "FLT_STACK_CHECK"},
    {kFltUnderflowCode, "FLT_UNDERFLOW"},
    {kIntDivideByZeroCode, "INT_DIVIDE_BY_ZERO"},
    {kIntOverflowCode, "INT_OVERFLOW"},
    {kPrivilegedInstructionCode, "PRIV_INSTRUCTION"},
    {kStackOverflowCode, "STACK_OVERFLOW"},
    {0x80000001, "GUARD_PAGE"},
    {kDatatypeMisalignmentCode, "DATATYPE_MISALIGNMENT"},
    {kBreakpointCode, "BREAKPOINT"},
    {0x80000004, "SINGLE_STEP"},
};

// Unhandled faults are reported from this module.
constexpr const wchar_t* kThisModule = L"..\\core\\ExceptionHandling.cpp";

// Texts are formatted into buffers of these sizes, terminator included; longer ones are cut.
constexpr size_t kHeadlineCapacity = 1024;
constexpr size_t kFunctionCapacity = 2000;
constexpr size_t kSourceLineCapacity = 260;

std::wstring Truncated(std::wstring text, size_t capacity)
{
    if (text.size() >= capacity)
        text.resize(capacity - 1);
    return text;
}

std::wstring AddressText(std::uintptr_t address) { return L"[0x" + ToHex(address, 8) + L"]"; }

// Debug information names a source by its path on the machine that built it, which for the
// cross-built Windows program is a POSIX path: folders end at either separator.
std::string_view WithoutFolders(std::string_view path)
{
    const size_t slash = path.find_last_of("\\/");
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::wstring_view TrimmedBlanks(std::wstring_view text)
{
    constexpr std::wstring_view kBlanks = L" \t\r\n";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::wstring_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// The line of a trace's first frame; empty when there is no trace.
std::wstring_view FirstFrameOf(std::wstring_view trace)
{
    if (!trace.starts_with(kStackTraceHeader))
        return {};
    trace.remove_prefix(kStackTraceHeader.size());
    return trace.substr(0, trace.find(L"\r\n"));
}

} // namespace

const char* StructuredExceptionName(std::uint32_t code)
{
    const auto* const known = std::find_if(
        std::begin(kCodeNames), std::end(kCodeNames), [code](const CodeName& entry) { return entry.code == code; });
    return known != std::end(kCodeNames) ? known->name : nullptr;
}

int ClassifyAccessViolation(const FaultRecord& fault)
{
    if (fault.code != kAccessViolationCode || fault.parameters.size() < 2)
        return kSehGeneric;
    const bool null = fault.parameters[1] == 0;
    switch (fault.parameters[0]) {
    case kReadAccess: return null ? kSehReadNull : kSehReadBad;
    case kWriteAccess: return null ? kSehWriteNull : kSehWriteBad;
    case kExecuteAccess: return null ? kSehDepNull : kSehDepBad;
    default: return kSehGeneric;
    }
}

std::wstring FaultHeadline(std::uint32_t code, std::uintptr_t address)
{
    const char* name = StructuredExceptionName(code);
    const std::wstring what = name != nullptr ? FromUtf8(name) : L"Unknown SEH Exception";
    return Truncated(
        what + L" (0x" + ToHex(code, 8) + L") at address " + AddressText(address) + L"\r\n", kHeadlineCapacity);
}

std::wstring StackFrameLine(const StackFrame& frame)
{
    std::wstring line = AddressText(frame.programCounter) + L"  ";
    line += frame.function.empty() ? L"-----" : Truncated(FromUtf8(frame.function) + L"()", kFunctionCapacity);
    if (!frame.file.empty()) {
        line += L" -> ";
        line += Truncated(FromUtf8(std::string(WithoutFolders(frame.file))) + L":" + std::to_wstring(frame.line),
            kSourceLineCapacity);
    }
    return line + L"\r\n";
}

std::wstring FormatStackTrace(const std::vector<StackFrame>& frames, int maxFrames, std::uintptr_t moduleBase)
{
    std::wstring text(kStackTraceHeader);
    for (size_t index = 0; index < frames.size() && index < static_cast<size_t>(maxFrames); ++index) {
        text += StackFrameLine(frames[index]);
        // Written whenever the limit is reached, without asking whether more frames exist: a
        // trace that long has lost its interesting end anyway.
        if (index + 1 == static_cast<size_t>(maxFrames))
            text += kStackOverflowMarker;
    }
    return text + AddressText(moduleBase) + L"  MODULE_BASE_ADDRESS\r\n";
}

SourceLocation ThrowLocationFromTrace(std::wstring_view trace)
{
    SourceLocation location = kFaultLocation;
    const size_t arrow = trace.find(L" -> ");
    if (arrow == std::wstring_view::npos)
        return location;
    std::wstring_view source = trace.substr(arrow + 4);
    source = source.substr(0, source.find(L"\r\n"));
    const size_t colon = source.find(L':');
    location.file = std::wstring(TrimmedBlanks(source.substr(0, colon)));
    location.line = colon == std::wstring_view::npos
        ? 0
        : static_cast<int>(std::wcstol(std::wstring(TrimmedBlanks(source.substr(colon + 1))).c_str(), nullptr, 10));
    return location;
}

SehException TranslateFault(const FaultRecord* fault, const void* context)
{
    if (fault == nullptr)
        return SehException(L"Unidentified SEH Exception !", kUnidentifiedFaultLocation.file,
            kUnidentifiedFaultLocation.line, kSehGeneric);
    std::wstring trace;
    AppendStackTrace(trace, context, kFaultTraceFrames);
    // The location is the faulting frame's: the first of the trace, read from the trace already
    // walked rather than from a walk of its own, because a walk can take seconds (debug help
    // reads the program's whole debug information for each one).
    SourceLocation location = ThrowLocationFromTrace(FirstFrameOf(trace));
    const int kind = ClassifyAccessViolation(*fault);
    std::wstring message =
        L"[" + AccessViolationName(kind) + L"] " + FaultHeadline(fault->code, fault->address) + trace;
    return SehException(std::move(message), std::move(location.file), location.line, kind);
}

void ReportUnhandledFault(const FaultRecord* fault, const void* context)
{
    const std::wstring typeName = ExceptionTypeName(kExceptionUnhandled);
    std::wstring message = L"[" + typeName + L"] ";
    if (fault != nullptr)
        message += Truncated(L"(0x" + ToHex(fault->code, 8) + L") at address " + AddressText(fault->address) + L"\r\n",
            kHeadlineCapacity);
    AppendStackTrace(message, context, kFaultTraceFrames);
    ExceptionPresenter::Instance().Show(nullptr, LoadText(IDS_UNEXPECTED_ERROR), message, typeName, kThisModule);
}

std::thread StartProgramThread(std::function<void()> body)
{
    return std::thread([body = std::move(body)] {
        InstallTranslator();
        InstallUnhandledFilter();
        body();
    });
}

} // namespace kw
