// Stack traces and the last report of the Windows program, the same for every compiler; the
// translators are in ExceptionHandling_msvc.cpp and FaultTranslator_win32.cpp.
//
// A trace is walked with the debug-help library, whose symbol handler is set up and cleaned up
// around every walk, and serialised by one lock because the library is single-threaded. Any
// failure of the library leaves the trace shorter or absent, never raises a new error.
#include "core/ExceptionHandling_win32.h"

// The debug-help header needs the types of windows.h first.
// clang-format off
#include <windows.h>
#include <dbghelp.h>
// clang-format on

#include <algorithm>
#include <atomic>
#include <vector>

#include "core/ProcessorContext_win32.h"
#include "os/win32/Handles_win32.h"

namespace kw {

namespace {

// SYMOPT_DEBUG | SYMOPT_LOAD_LINES | SYMOPT_DEFERRED_LOADS | SYMOPT_UNDNAME.
constexpr DWORD kSymbolOptions = 0x80000016;
// Symbol records are read into a scratch buffer of this size, with room for a name this long.
constexpr size_t kSymbolScratchBytes = 4088;
constexpr ULONG kSymbolNameCapacity = 2000;
static_assert(sizeof(SYMBOL_INFO) + kSymbolNameCapacity <= kSymbolScratchBytes);

// What a thread keeps free at the end of its stack for the last report of its overflow: enough
// to start the thread that writes the report.
constexpr ULONG kLastReportStackBytes = 64 * 1024;

using SymFromAddrFunction = BOOL(WINAPI*)(HANDLE, DWORD64, PDWORD64, PSYMBOL_INFO);

// Whether this thread is walking a stack: a report asked for while it does (a fault inside the
// walk itself) gets no trace rather than a second walk inside the library.
thread_local bool g_walking = false;

// The lock of every walk. It lives as long as the process, so that a report written while the
// process ends still finds it.
CRITICAL_SECTION& WalkLock()
{
    static CRITICAL_SECTION* const lock = [] {
        auto* section = new CRITICAL_SECTION;
        InitializeCriticalSection(section);
        return section;
    }();
    return *lock;
}

class WalkGuard {
public:
    WalkGuard()
    {
        EnterCriticalSection(&WalkLock());
        g_walking = true;
    }
    ~WalkGuard()
    {
        g_walking = false;
        LeaveCriticalSection(&WalkLock());
    }
    WalkGuard(const WalkGuard&) = delete;
    WalkGuard& operator=(const WalkGuard&) = delete;
};

// The symbol lookup of the debug-help library, found once per process; null when the library or
// the function is missing, and then there are no traces.
SymFromAddrFunction SymbolLookup()
{
    static const SymFromAddrFunction lookup = []() -> SymFromAddrFunction {
        const HMODULE library = LoadLibraryW(L"Dbghelp.dll");
        if (library == nullptr)
            return nullptr;
        return reinterpret_cast<SymFromAddrFunction>(
            reinterpret_cast<void (*)()>(GetProcAddress(library, "SymFromAddr")));
    }();
    return lookup;
}

// The folder of the executable, where its symbols are looked for.
std::wstring SymbolSearchPath()
{
    wchar_t path[MAX_PATH] = {};
    const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
    std::wstring folder(path, std::min<DWORD>(length, MAX_PATH));
    const size_t slash = folder.rfind(L'\\');
    return slash == std::wstring::npos ? std::wstring() : folder.substr(0, slash);
}

// The symbol handler of the process for the time of one walk.
class SymbolSession {
public:
    explicit SymbolSession(HANDLE process) : process_(process)
    {
        initialised_ = SymInitialize(process_, nullptr, TRUE) != FALSE;
        ready_ = initialised_ && SymSetSearchPathW(process_, SymbolSearchPath().c_str()) != FALSE;
    }
    ~SymbolSession()
    {
        if (initialised_)
            SymCleanup(process_);
    }
    SymbolSession(const SymbolSession&) = delete;
    SymbolSession& operator=(const SymbolSession&) = delete;

    bool Ready() const { return ready_; }

private:
    HANDLE process_;
    bool initialised_ = false;
    bool ready_ = false;
};

StackFrame DescribeFrame(
    HANDLE process, DWORD64 programCounter, SymFromAddrFunction symFromAddr, std::vector<ULONG64>& scratch)
{
    StackFrame frame;
    frame.programCounter = static_cast<std::uintptr_t>(programCounter);

    std::fill(scratch.begin(), scratch.end(), 0);
    auto* symbol = reinterpret_cast<SYMBOL_INFO*>(scratch.data());
    symbol->SizeOfStruct = sizeof(SYMBOL_INFO);
    symbol->MaxNameLen = kSymbolNameCapacity;
    DWORD64 displacement = 0;
    if (symFromAddr(process, programCounter, &displacement, symbol))
        frame.function.assign(symbol->Name, std::min(symbol->NameLen, kSymbolNameCapacity));

    IMAGEHLP_LINE64 line{};
    line.SizeOfStruct = sizeof(line);
    DWORD lineDisplacement = 0;
    if (SymGetLineFromAddr64(process, programCounter, &lineDisplacement, &line) && line.FileName != nullptr) {
        frame.file = line.FileName;
        frame.line = static_cast<long>(line.LineNumber);
    }
    return frame;
}

// A call through a bad pointer faults where no code is, and some versions of the library
// (wine's among them) cannot start a walk there. Nothing ran at that address, so the return
// address the call pushed is on top of the stack: `context` becomes the caller's.
bool StepOutOfCallToNowhere(CONTEXT& context)
{
    if (ImageHolding(ProgramCounter(context)) != nullptr)
        return false;
    std::uintptr_t returnAddress = 0;
    SIZE_T read = 0;
    if (!ReadProcessMemory(GetCurrentProcess(), reinterpret_cast<const void*>(StackPointer(context)), &returnAddress,
            sizeof(returnAddress), &read) ||
        read != sizeof(returnAddress))
        return false;
    SetProgramCounterAndStack(context, returnAddress, StackPointer(context) + sizeof(returnAddress));
    return true;
}

// Appends the trace of `context`, leaving out its first `skipped` frames; `context` is the
// walk's own copy, which the walk changes.
void AppendTrace(std::wstring& text, CONTEXT& context, int maxFrames, int skipped)
{
    if (g_walking)
        return;
    WalkGuard guard;
    SymSetOptions(kSymbolOptions);
    const SymFromAddrFunction symFromAddr = SymbolLookup();
    if (symFromAddr == nullptr)
        return;
    const HANDLE process = GetCurrentProcess();
    const SymbolSession session(process);
    if (!session.Ready())
        return;

    std::vector<ULONG64> scratch(kSymbolScratchBytes / sizeof(ULONG64));
    std::vector<StackFrame> frames;
    int index = 0;
    const std::uintptr_t start = ProgramCounter(context);
    if (maxFrames > 0 && skipped == 0 && StepOutOfCallToNowhere(context)) {
        frames.push_back(DescribeFrame(process, start, symFromAddr, scratch));
        ++index;
    }

    STACKFRAME64 walk{};
    walk.AddrPC.Offset = ProgramCounter(context);
    walk.AddrPC.Mode = AddrModeFlat;
    walk.AddrFrame.Offset = FramePointer(context);
    walk.AddrFrame.Mode = AddrModeFlat;
    walk.AddrStack.Offset = StackPointer(context);
    walk.AddrStack.Mode = AddrModeFlat;
    for (; index < maxFrames + skipped; ++index) {
        if (!StackWalk64(kStackWalkMachine, process, GetCurrentThread(), &walk, &context, nullptr,
                SymFunctionTableAccess64, SymGetModuleBase64, nullptr))
            break;
        if (index >= skipped)
            frames.push_back(DescribeFrame(process, walk.AddrPC.Offset, symFromAddr, scratch));
    }
    text += FormatStackTrace(frames, maxFrames, reinterpret_cast<std::uintptr_t>(GetModuleHandleW(nullptr)));
}

std::atomic<bool> g_filterInstalled{false};

struct ReportJob {
    const FaultRecord* record;
    const void* context;
};

DWORD WINAPI ReportOnThisThread(void* parameter)
{
    const auto* job = static_cast<const ReportJob*>(parameter);
    try {
        ReportUnhandledFault(job->record, job->context);
    } catch (...) {
        // The process ends all the same; a report that failed has nothing left to tell.
    }
    return 0;
}

// The process's last report of a structured exception that nothing handled.
void ReportUnhandled(const EXCEPTION_POINTERS* pointers)
{
    FaultRecord fault;
    ReportJob job{nullptr, nullptr};
    if (pointers != nullptr) {
        if (pointers->ExceptionRecord != nullptr) {
            fault = FaultRecordOf(*pointers->ExceptionRecord);
            job.record = &fault;
        }
        job.context = pointers->ContextRecord;
    }
    if (job.record == nullptr || job.record->code != kStackOverflowCode) {
        ReportOnThisThread(&job);
        return;
    }
    // The overflowed stack has no room for the walk and the report: they run on a thread of
    // their own, started with as little stack as the system allows, while this one waits.
    const KernelObjectOwner reporter(CreateThread(nullptr, 0, ReportOnThisThread, &job, 0, nullptr));
    if (!reporter)
        return;
    WaitForSingleObject(reporter.Get(), INFINITE);
}

// After the report, the system ends the process with the exception's code.
LONG WINAPI ReportUnhandledException(EXCEPTION_POINTERS* pointers)
{
    ReportUnhandled(pointers);
    return EXCEPTION_EXECUTE_HANDLER;
}

} // namespace

const void* ImageHolding(std::uintptr_t address)
{
    MEMORY_BASIC_INFORMATION region{};
    if (VirtualQuery(reinterpret_cast<const void*>(address), &region, sizeof(region)) == 0 ||
        region.State != MEM_COMMIT || region.Type != MEM_IMAGE)
        return nullptr;
    return region.AllocationBase;
}

FaultRecord FaultRecordOf(const EXCEPTION_RECORD& record)
{
    FaultRecord fault;
    fault.code = record.ExceptionCode;
    fault.address = reinterpret_cast<std::uintptr_t>(record.ExceptionAddress);
    const DWORD count = std::min<DWORD>(record.NumberParameters, EXCEPTION_MAXIMUM_PARAMETERS);
    fault.parameters.assign(record.ExceptionInformation, record.ExceptionInformation + count);
    return fault;
}

void ReserveStackForLastReport()
{
    ULONG bytes = kLastReportStackBytes;
    SetThreadStackGuarantee(&bytes);
}

void AppendStackTrace(std::wstring& text, const void* context, int maxFrames)
{
    if (context == nullptr)
        return;
    CONTEXT copy = *static_cast<const CONTEXT*>(context);
    AppendTrace(text, copy, maxFrames, 0);
}

void AppendCurrentStackTrace(std::wstring& text, int maxFrames)
{
    CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    RtlCaptureContext(&context);
    // The captured context is this function's own; the trace starts at its caller.
    AppendTrace(text, context, maxFrames, 1);
}

void EndWithLastReport(EXCEPTION_POINTERS* pointers)
{
    if (!g_filterInstalled)
        return;
    ReportUnhandled(pointers);
    TerminateProcess(GetCurrentProcess(), pointers->ExceptionRecord->ExceptionCode);
}

void InstallUnhandledFilter()
{
    if (!g_filterInstalled.exchange(true))
        SetUnhandledExceptionFilter(ReportUnhandledException);
}

} // namespace kw
