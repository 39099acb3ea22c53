// Faults on POSIX: the synchronous signals of a hardware fault become SehExceptions thrown
// where the fault happened, named with the codes the Windows build reports.
//
// How a fault travels (x86-64 Linux):
//   1. The kernel delivers SIGSEGV, SIGBUS, SIGFPE or SIGILL to the faulting thread, on the
//      thread's alternate stack. The handler describes the fault as a Windows exception record
//      would and copies the processor state into storage the thread owns. It allocates nothing
//      and takes no lock.
//   2. It points the interrupted context at a trampoline and returns. The kernel resumes the
//      thread in the trampoline, on the thread's own stack and out of signal context, as if
//      the faulting instruction had called it.
//   3. The trampoline composes the exception, trace included, and throws it. The unwinder
//      leaves the trampoline for the faulting frame, where -fnon-call-exceptions has put the
//      instruction inside the try blocks and cleanups around it.
// Throwing from the handler itself works natively too, but the unwinder would then cross the
// kernel's signal frame, and a sanitizer that wraps signal handlers (the thread sanitizer) would
// go on believing that the thread is still inside one.
//
// What cannot be thrown from is reported once through the presenter, and then the process
// ends with _exit and the low byte of the fault's code (5 for an access violation, 253 for a
// stack overflow): the status that a crash of the Windows build shows wherever only 8 bits of
// an exit code pass. That is a stack overflow (no stack is left to throw on, so the report
// runs on the alternate stack), a fault on a thread that installed no translator, a fault while
// a fault is being translated, and a fault in code without unwind tables (a throw from there
// would find no handler). Without the last report installed, such a fault takes the system's
// default action.
//
// std::terminate (an exception escaping a thread) is left to the runtime's handler, which
// names the exception and aborts: it is a fault of the program's logic, not of the processor,
// every thread of the program catches what it can present, and the Windows build does not
// route it to its last report either.
//
// A fault inside code that has cleanups of its own but was built without -fnon-call-exceptions
// (a library's) ends in std::terminate: nothing there expects an exception from that instruction.
//
// The risk that remains: the translation and the report run out of signal context, but in the
// state the thread faulted in. A fault inside the allocator with its lock held would leave the
// translation waiting for that lock. Such a fault is heap corruption, which the allocator
// nearly always reports itself by aborting; the report arms an alarm, so that a process that
// is to end does end.
#include "core/ExceptionHandling.h"

#include "core/StackWalk_posix.h"
#include "os/Console.h"

#if defined(__x86_64__) && defined(__linux__)

#include <pthread.h>
#include <signal.h> // NOLINT(modernize-deprecated-headers): the POSIX header, for sigaction
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <mutex>

// The trampoline a faulting thread resumes in. For a fault the handler leaves in r11 the
// address one past the faulting instruction: pushed, it makes the faulting frame the caller of
// the trampoline, so that the unwinder looks up the faulting instruction itself in that frame's
// tables. The frame description starts after the push; from there on the frame is that of a
// called function. The interrupted code kept the stack at no particular alignment, and the
// call needs it aligned. kw_resume_as_called is entered where the stack already holds the
// return address (a fetch from a bad address, reached by a call).
asm(R"(
    .text
    .p2align 4
    .globl kw_resume_after_fault
    .hidden kw_resume_after_fault
    .type kw_resume_after_fault, @function
kw_resume_after_fault:
    pushq %r11
    .globl kw_resume_as_called
    .hidden kw_resume_as_called
kw_resume_as_called:
    .cfi_startproc
    pushq %rbp
    .cfi_def_cfa_offset 16
    .cfi_offset %rbp, -16
    movq %rsp, %rbp
    .cfi_def_cfa_register %rbp
    andq $-16, %rsp
    call kw_finish_fault
    ud2
    .cfi_endproc
    .size kw_resume_after_fault, .-kw_resume_after_fault
)");

extern "C" {
[[gnu::visibility("hidden")]] void kw_resume_after_fault();
[[gnu::visibility("hidden")]] void kw_resume_as_called();
// Throws the fault of the calling thread, or reports it and ends the process.
[[noreturn, gnu::visibility("hidden"), gnu::used]] void kw_finish_fault();
}

namespace kw {

namespace {

// What the handler learns of a fault, in storage that needs no allocation.
struct FaultCapture {
    std::uint32_t code = 0;
    std::uintptr_t address = 0;
    std::uintptr_t parameters[2] = {};
    int parameterCount = 0;

    void Add(std::uintptr_t parameter) { parameters[parameterCount++] = parameter; }
    bool IsInstructionFetch() const
    {
        return code == kAccessViolationCode && parameterCount > 0 && parameters[0] == kExecuteAccess;
    }
    FaultRecord Record() const { return {code, address, {parameters, parameters + parameterCount}}; }
};

struct PendingFault {
    FaultCapture fault;
    ucontext_t context;
};

// What a thread with the translator owns: the fault waiting to be thrown, and what a stack
// overflow needs to be reported: the alternate stack and the reach of the thread's stack.
struct ThreadTranslator {
    void* mapping = nullptr;
    size_t mappingSize = 0;
    std::uintptr_t alternateStackTop = 0;
    stack_t previousAlternateStack{};
    // The lowest address the thread's stack may reach; 0 when unknown.
    std::uintptr_t stackLimit = 0;
    bool translating = false;
    PendingFault pending{};

    ThreadTranslator() = default;
    ThreadTranslator(const ThreadTranslator&) = delete;
    ThreadTranslator& operator=(const ThreadTranslator&) = delete;
    ~ThreadTranslator();
};

// The fault that ends the process: the first thread to get here reports it.
struct UnhandledFault {
    std::atomic<pid_t> reporter{0};
    PendingFault pending{};
    // For a stack overflow the trace is walked in the handler, through the kernel's signal
    // frame: the report runs on the alternate stack, from where no walk reaches the fault.
    RawFrame frames[kFaultTraceFrames]{};
    int frameCount = 0;
};

enum class Finish : int { kNothing, kThrow, kReport };

// What the handler reads: plain thread-local data, which needs no initialisation on access.
thread_local ThreadTranslator* tTranslator = nullptr;
thread_local Finish tFinish = Finish::kNothing;
thread_local bool tInHandler = false;

// Owns the thread's translator; its destructor runs when the thread ends.
thread_local std::unique_ptr<ThreadTranslator> tTranslatorOwner;

UnhandledFault gUnhandled;
std::atomic<bool> gUnhandledFilterInstalled{false};

constexpr int kFaultSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};

// Enough for the report of a stack overflow, which runs there: naming 200 frames, and the
// presenter. Only the pages it touches take memory.
constexpr size_t kAlternateStackSize = size_t{1} << 20;

// A fault this close to the lowest address the stack may reach is taken for a stack overflow:
// below it lie the guard pages and whatever a large frame skips; above it, for the main thread,
// the gap the kernel keeps between a growing stack and the mapping below. A wild pointer into
// this band is taken for an overflow too, as it nearly always is one.
constexpr std::uintptr_t kStackOverflowBand = std::uintptr_t{1} << 20;

// A report that cannot finish (a lock held by the thread that faulted) still ends the process.
constexpr unsigned kReportSeconds = 30;

int ExitStatus(std::uint32_t code) { return static_cast<int>(code & 0xFF); }

constexpr struct {
    int signalCode;
    std::uint32_t code;
} kFloatingPointCodes[] = {
    {FPE_INTDIV, kIntDivideByZeroCode},
    {FPE_INTOVF, kIntOverflowCode},
    {FPE_FLTDIV, kFltDivideByZeroCode},
    {FPE_FLTOVF, kFltOverflowCode},
    {FPE_FLTUND, kFltUnderflowCode},
    {FPE_FLTRES, kFltInexactResultCode},
    {FPE_FLTINV, kFltInvalidOperationCode},
    // A subscript out of range: Windows' name for a failed bounds check of the processor.
    {FPE_FLTSUB, kArrayBoundsExceededCode},
};

std::uint32_t FloatingPointCode(int signalCode)
{
    for (const auto& entry : kFloatingPointCodes) {
        if (entry.signalCode == signalCode)
            return entry.code;
    }
    // The kernel names every trap it recognises; the broadest code stands for anything else.
    return kFltInvalidOperationCode;
}

std::uintptr_t InstructionPointer(const ucontext_t& context)
{
    return static_cast<std::uintptr_t>(context.uc_mcontext.gregs[REG_RIP]);
}

std::uintptr_t ReturnAddressOnTop(const ucontext_t& context)
{
    return *reinterpret_cast<const std::uintptr_t*>(context.uc_mcontext.gregs[REG_RSP]);
}

// The access a page fault was for, from the error code the processor pushed with it. A fetch
// also shows as a fault at the instruction's own address, which is all valgrind tells of one.
std::uintptr_t AccessKind(const ucontext_t& context, std::uintptr_t touched)
{
    constexpr greg_t kPageFault = 14;
    constexpr greg_t kWriteBit = 0x2;
    constexpr greg_t kFetchBit = 0x10;
    const greg_t* registers = context.uc_mcontext.gregs;
    const bool pageFault = registers[REG_TRAPNO] == kPageFault;
    if (touched == InstructionPointer(context) || (pageFault && (registers[REG_ERR] & kFetchBit) != 0))
        return kExecuteAccess;
    return pageFault && (registers[REG_ERR] & kWriteBit) != 0 ? kWriteAccess : kReadAccess;
}

FaultCapture Describe(int signal, const siginfo_t& info, const ucontext_t& context)
{
    FaultCapture fault;
    fault.address = InstructionPointer(context);
    const auto touched = reinterpret_cast<std::uintptr_t>(info.si_addr);
    switch (signal) {
    case SIGSEGV:
        fault.code = kAccessViolationCode;
        fault.Add(AccessKind(context, touched));
        // A general-protection fault (a non-canonical address) names no address: all ones, as
        // Windows reports it.
        fault.Add(info.si_code == SI_KERNEL ? ~std::uintptr_t{0} : touched);
        break;
    case SIGBUS:
        // An alignment check is the processor's misalignment fault. Any other bus error is a
        // page of a mapped file that can no longer be read (the file shrank, the device
        // failed): what Windows calls an in-page error, with an access violation's parameters.
        if (info.si_code == BUS_ADRALN) {
            fault.code = kDatatypeMisalignmentCode;
        } else {
            fault.code = kInPageErrorCode;
            fault.Add(AccessKind(context, touched));
            fault.Add(touched);
        }
        break;
    case SIGFPE: fault.code = FloatingPointCode(info.si_code); break;
    default:
        fault.code = info.si_code == ILL_PRVOPC || info.si_code == ILL_PRVREG ? kPrivilegedInstructionCode
                                                                              : kIllegalInstructionCode;
        break;
    }
    return fault;
}

bool IsStackOverflow(const ThreadTranslator* translator, int signal, const siginfo_t& info)
{
    if (translator == nullptr || signal != SIGSEGV || translator->stackLimit == 0 || translator->alternateStackTop == 0)
        return false;
    const auto touched = reinterpret_cast<std::uintptr_t>(info.si_addr);
    return touched + kStackOverflowBand >= translator->stackLimit &&
        touched < translator->stackLimit + kStackOverflowBand;
}

enum class Resume { kNowhere, kAfterFault, kAsCalled };

// Where a throw can leave for the frames around the fault: after the faulting instruction when
// its code has unwind tables; for a fetch from a bad address, from the return address on the
// stack, when that is in such code.
Resume ResumeFor(const ucontext_t& context, const FaultCapture& fault)
{
    if (HasUnwindTables(InstructionPointer(context)))
        return Resume::kAfterFault;
    if (fault.IsInstructionFetch() && HasUnwindTables(ReturnAddressOnTop(context) - 1))
        return Resume::kAsCalled;
    return Resume::kNowhere;
}

void ResumeInTrampoline(ucontext_t& context, Resume resume)
{
    greg_t* registers = context.uc_mcontext.gregs;
    if (resume == Resume::kAsCalled) {
        registers[REG_RIP] = reinterpret_cast<greg_t>(&kw_resume_as_called);
    } else {
        registers[REG_R11] = registers[REG_RIP] + 1;
        registers[REG_RIP] = reinterpret_cast<greg_t>(&kw_resume_after_fault);
    }
}

// Resumes at the top of `stack`, as a call that returns nowhere.
void ResumeOnStack(ucontext_t& context, std::uintptr_t stack)
{
    greg_t* registers = context.uc_mcontext.gregs;
    registers[REG_RSP] = static_cast<greg_t>(stack & ~std::uintptr_t{15});
    registers[REG_R11] = 0;
    registers[REG_RIP] = reinterpret_cast<greg_t>(&kw_resume_after_fault);
}

void Keep(PendingFault& pending, const FaultCapture& fault, const ucontext_t& context)
{
    pending.fault = fault;
    pending.context = context;
    pending.context.uc_mcontext.fpregs = nullptr; // it points into the signal frame
}

// The frames of a fault's trace: the faulting instruction, then the walk of the calling thread
// (which runs the trampoline, called from the faulting frame) from the faulting frame outwards.
std::vector<RawFrame> FaultFrames(const ucontext_t& context, int maxFrames)
{
    const int capacity = std::max(maxFrames, 1);
    if (&context == &gUnhandled.pending.context && gUnhandled.frameCount > 0)
        return {gUnhandled.frames, gUnhandled.frames + std::min(gUnhandled.frameCount, capacity)};
    const std::uintptr_t pc = InstructionPointer(context);
    std::vector<RawFrame> frames(static_cast<size_t>(capacity));
    int count = 1;
    if (HasUnwindTables(pc))
        count = std::max(WalkStack({pc, false}, frames.data(), capacity), 1);
    else
        count += WalkStack({ReturnAddressOnTop(context), true}, frames.data() + 1, capacity - 1);
    frames[0] = {pc, true};
    frames.resize(static_cast<size_t>(count));
    return frames;
}

// The handler's part for a fault that is not translated: keeps it for the one report of the
// process, and resumes the thread where that report runs.
void ResumeToReport(ucontext_t& context, const siginfo_t& info, FaultCapture fault, const ThreadTranslator* translator,
    bool stackOverflow)
{
    const pid_t self = gettid();
    pid_t reporter = 0;
    if (!gUnhandled.reporter.compare_exchange_strong(reporter, self)) {
        if (reporter == self)
            _exit(ExitStatus(fault.code)); // the report itself faulted
        for (;;)
            pause(); // another thread reports, and ends the process
    }
    if (stackOverflow)
        fault = {kStackOverflowCode, fault.address, {kReadAccess, reinterpret_cast<std::uintptr_t>(info.si_addr)}, 2};
    Keep(gUnhandled.pending, fault, context);
    tFinish = Finish::kReport;
    if (stackOverflow) {
        gUnhandled.frameCount = WalkStack({fault.address, false}, gUnhandled.frames, kFaultTraceFrames);
        ResumeOnStack(context, translator->alternateStackTop);
    } else {
        ResumeInTrampoline(
            context, HasUnwindTables(InstructionPointer(context)) ? Resume::kAfterFault : Resume::kAsCalled);
    }
}

void TakeDefaultAction(int signal)
{
    struct sigaction original { };
    original.sa_handler = SIG_DFL;
    sigaction(signal, &original, nullptr);
}

void OnFault(int signal, siginfo_t* info, void* rawContext)
{
    if (info->si_code <= 0) {
        // Sent by a process, not raised by a fault: the thread may be anywhere, and no
        // instruction of it failed. The signal has its usual effect.
        TakeDefaultAction(signal);
        raise(signal);
        return;
    }
    ucontext_t& context = *static_cast<ucontext_t*>(rawContext);
    const FaultCapture fault = Describe(signal, *info, context);
    if (tInHandler)
        _exit(ExitStatus(fault.code)); // the handler itself faulted: nothing more can be done
    tInHandler = true;
    const int savedErrno = errno;

    ThreadTranslator* translator = tTranslator;
    const bool stackOverflow = IsStackOverflow(translator, signal, *info);
    const Resume resume = translator != nullptr && !translator->translating && !stackOverflow
        ? ResumeFor(context, fault)
        : Resume::kNowhere;
    if (resume != Resume::kNowhere) {
        translator->translating = true;
        Keep(translator->pending, fault, context);
        tFinish = Finish::kThrow;
        ResumeInTrampoline(context, resume);
    } else if (gUnhandledFilterInstalled.load()) {
        ResumeToReport(context, *info, fault, translator, stackOverflow);
    } else {
        // The instruction faults again on return, and the system ends the process as it would
        // have without us.
        TakeDefaultAction(signal);
    }

    errno = savedErrno;
    tInHandler = false;
}

void InstallHandlers()
{
    static std::once_flag installed;
    std::call_once(installed, [] {
        struct sigaction action { };
        action.sa_sigaction = OnFault;
        // With SA_NODEFER a fault inside the handler comes back to it (which ends the process)
        // instead of being held back while the thread faults on.
        action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
        sigemptyset(&action.sa_mask);
        for (const int signal : kFaultSignals)
            sigaction(signal, &action, nullptr);
    });
}

std::uintptr_t LowestStackAddress()
{
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0)
        return 0;
    void* address = nullptr;
    size_t size = 0;
    const bool known = pthread_attr_getstack(&attributes, &address, &size) == 0;
    pthread_attr_destroy(&attributes);
    return known ? reinterpret_cast<std::uintptr_t>(address) : 0;
}

// Maps the alternate stack, with a guard page below it, and makes it the thread's.
void GiveAlternateStack(ThreadTranslator& translator)
{
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t size = page + kAlternateStackSize;
    void* mapping = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapping == MAP_FAILED)
        return;
    mprotect(mapping, page, PROT_NONE);
    stack_t stack{};
    stack.ss_sp = static_cast<char*>(mapping) + page;
    stack.ss_size = kAlternateStackSize;
    if (sigaltstack(&stack, &translator.previousAlternateStack) != 0) {
        munmap(mapping, size);
        return;
    }
    translator.mapping = mapping;
    translator.mappingSize = size;
    translator.alternateStackTop = reinterpret_cast<std::uintptr_t>(stack.ss_sp) + stack.ss_size;
}

ThreadTranslator::~ThreadTranslator()
{
    tTranslator = nullptr;
    if (mapping == nullptr)
        return;
    // A sanitizer may have had a stack of its own in place: it gets it back, and frees it.
    stack_t current{};
    if (sigaltstack(nullptr, &current) == 0 &&
        reinterpret_cast<std::uintptr_t>(current.ss_sp) + current.ss_size == alternateStackTop) {
        previousAlternateStack.ss_flags &= ~SS_ONSTACK;
        sigaltstack(&previousAlternateStack, nullptr);
    }
    munmap(mapping, mappingSize);
}

} // namespace

void AppendStackTrace(std::wstring& text, const void* context, int maxFrames)
{
    if (context == nullptr)
        return;
    const WalkLock lock;
    if (!lock.Held())
        return;
    const std::vector<RawFrame> raw = FaultFrames(*static_cast<const ucontext_t*>(context), maxFrames);
    text += FormatStackTrace(SymbolizedFrames(raw, maxFrames), maxFrames, ProgramBase());
}

void InstallTranslator()
{
    if (tTranslator != nullptr)
        return;
    auto translator = std::make_unique<ThreadTranslator>();
    GiveAlternateStack(*translator);
    translator->stackLimit = LowestStackAddress();
    tTranslator = translator.get();
    tTranslatorOwner = std::move(translator);
    InstallHandlers();
}

void InstallUnhandledFilter()
{
    if (gUnhandledFilterInstalled.exchange(true))
        return;
    InstallHandlers();
}

} // namespace kw

void kw_finish_fault()
{
    using namespace kw;
    if (tFinish == Finish::kThrow) {
        tFinish = Finish::kNothing;
        ThreadTranslator& translator = *tTranslator;
        // A fault while the exception is composed is not translated again: it is reported.
        struct Translating {
            ThreadTranslator& translator;
            ~Translating() { translator.translating = false; }
        } translating{translator};
        const FaultRecord record = translator.pending.fault.Record();
        throw TranslateFault(&record, &translator.pending.context);
    }
    alarm(kReportSeconds);
    const FaultRecord record = gUnhandled.pending.fault.Record();
    try {
        ReportUnhandledFault(&record, &gUnhandled.pending.context);
    } catch (...) {
        // The process ends all the same.
    }
    // _exit runs no exit handlers: the output kept for a file or pipe goes out here.
    if (ConsoleWriter* console = ConsoleWriter::Existing())
        console->Flush();
    _exit(ExitStatus(record.code));
}

#else

// Elsewhere faults are not translated: they end the process as the system's default action
// does. The trace of the current thread (AppendCurrentStackTrace) is offered all the same.
namespace kw {

void AppendStackTrace(std::wstring&, const void*, int) { }
void InstallTranslator() { }
void InstallUnhandledFilter() { }

} // namespace kw

#endif
