#include <dlfcn.h>
#include <gtest/gtest.h>
#include <signal.h> // NOLINT(modernize-deprecated-headers): the POSIX header, for sigaltstack
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cwchar>
#include <regex>
#include <thread>

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#else
#define VALGRIND_DISABLE_ERROR_REPORTING
#define VALGRIND_ENABLE_ERROR_REPORTING
#endif

#include "core/ExceptionHandling.h"

#if defined(__x86_64__)

// A reader written in assembly, outside every section the compiler describes: without unwind
// tables or line information. It stores the address of its faulting instruction before it runs it.
extern "C" int KwReadWithoutUnwindTables(std::uintptr_t address, std::uintptr_t* faultingInstruction);
asm(R"(
    .pushsection .text.kw_test_readers, "ax", @progbits
    .type KwReadWithoutUnwindTables, @function
KwReadWithoutUnwindTables:
    leaq 1f(%rip), %rax
    movq %rax, (%rsi)
1:  movl (%rdi), %eax
    ret
    .size KwReadWithoutUnwindTables, .-KwReadWithoutUnwindTables
    .popsection
)");

namespace kw {
namespace {

// Where a helper faults: the faulting instruction, stored before it runs, and its line.
struct FaultSite {
    std::uintptr_t pc = 0;
    int line = 0;
};

// Each helper faults in one instruction of its own, written in assembly so that the sanitizers
// do not stop the access before the processor does.
[[gnu::noinline]] int ReadAt(std::uintptr_t address, FaultSite& site)
{
    int value = 0;
    site.line = __LINE__ + 1;
    asm volatile("leaq 1f(%%rip), %%rax\n\tmovq %%rax, %1\n1:\tmovl (%2), %0"
                 : "=r"(value), "=m"(site.pc)
                 : "r"(address)
                 : "rax", "memory");
    return value;
}

[[gnu::noinline]] void WriteAt(std::uintptr_t address, FaultSite& site)
{
    site.line = __LINE__ + 1;
    asm volatile("leaq 1f(%%rip), %%rax\n\tmovq %%rax, %0\n1:\tmovl $1, (%1)"
                 : "=m"(site.pc)
                 : "r"(address)
                 : "rax", "memory");
}

[[gnu::noinline]] int Divide(int dividend, int divisor, FaultSite& site)
{
    site.line = __LINE__ + 1;
    asm volatile("leaq 1f(%%rip), %%rcx\n\tmovq %%rcx, %1\n\tcltd\n1:\tidivl %2"
                 : "+a"(dividend), "=m"(site.pc)
                 : "r"(divisor)
                 : "rcx", "rdx", "memory");
    return dividend;
}

[[gnu::noinline]] void Undefined(FaultSite& site)
{
    site.line = __LINE__ + 1;
    asm volatile("leaq 1f(%%rip), %%rax\n\tmovq %%rax, %0\n1:\tud2" : "=m"(site.pc) : : "rax", "memory");
}

// Not a tail call: the frame that called stays on the stack.
[[gnu::noinline]] void CallAt(std::uintptr_t address, FaultSite& site)
{
    site.line = __LINE__ + 1;
    reinterpret_cast<void (*)()>(address)();
    asm volatile("" : : : "memory");
}

// Frames of 1 KiB, so that an endless descent overflows the stack long before the sanitizers'
// books of frames do.
[[gnu::noinline]] int DescendThenRead(int depth, FaultSite& site)
{
    volatile char frame[1024];
    frame[0] = static_cast<char>(depth);
    if (depth == 0)
        return ReadAt(0, site);
    return DescendThenRead(depth - 1, site) + frame[0];
}

// Memcheck reports a deliberate bad access as an error of the program before the fault reaches
// the translator. Tests that make one say so; the translation runs inside it too, so faults
// that valgrind lets pass (a division by zero) are made without it.
class DeliberateBadAccess {
public:
    DeliberateBadAccess() { VALGRIND_DISABLE_ERROR_REPORTING; }
    ~DeliberateBadAccess() { VALGRIND_ENABLE_ERROR_REPORTING; }
    DeliberateBadAccess(const DeliberateBadAccess&) = delete;
    DeliberateBadAccess& operator=(const DeliberateBadAccess&) = delete;
};

std::wstring Address(std::uintptr_t address)
{
    wchar_t text[32];
    std::swprintf(text, std::size(text), L"[0x%08jx]", static_cast<std::uintmax_t>(address));
    return text;
}

std::vector<std::wstring> Lines(const std::wstring& text)
{
    std::vector<std::wstring> lines;
    for (size_t start = 0, end = 0; (end = text.find(L"\r\n", start)) != std::wstring::npos; start = end + 2)
        lines.push_back(text.substr(start, end - start));
    return lines;
}

// The message's lines from the headline to the first frame, exactly, and the module-base line.
void ExpectFaultMessage(const std::wstring& message, const std::wstring& headline, const std::wstring& firstFrame)
{
    const std::vector<std::wstring> lines = Lines(message);
    ASSERT_GE(lines.size(), 5u) << message;
    EXPECT_EQ(lines[0], headline);
    EXPECT_EQ(lines[1], L"");
    EXPECT_EQ(lines[2], L"*** Stack Trace (x86) ***");
    EXPECT_EQ(lines[3], L"");
    EXPECT_EQ(lines[4], firstFrame);
    Dl_info program{};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&ReadAt), &program), 0);
    EXPECT_EQ(lines.back(), Address(reinterpret_cast<std::uintptr_t>(program.dli_fbase)) + L"  MODULE_BASE_ADDRESS");
}

std::wstring ReadAtFrame(const FaultSite& site)
{
    return Address(site.pc) + L"  kw::(anonymous namespace)::ReadAt() -> ExceptionHandlingTest_posix.cpp:" +
        std::to_wstring(site.line);
}

bool LineMatches(const std::wstring& line, const wchar_t* pattern)
{
    return std::regex_match(line, std::wregex(pattern));
}

class FaultTranslation : public testing::Test {
protected:
    void SetUp() override { InstallTranslator(); }
};

TEST_F(FaultTranslation, NullReadIsThrownFromTheFaultingLineWithTheTraceOfItsCallers)
{
    FaultSite site;
    int callLine = 0;
    try {
        const DeliberateBadAccess expected;
        callLine = __LINE__ + 1;
        ReadAt(0, site);
        FAIL() << "no exception";
    } catch (const SehException& e) {
        EXPECT_EQ(e.GetTypeName(), L"SEH_AV_READ_NULLPTR");
        EXPECT_EQ(e.Code(), kApplicationErrorCode);
        EXPECT_EQ(e.File(), L"ExceptionHandlingTest_posix.cpp");
        EXPECT_EQ(e.Line(), site.line);
        ExpectFaultMessage(e.Message(),
            L"[SEH_AV_READ_NULLPTR] ACCESS_VIOLATION (0xc0000005) at address " + Address(site.pc), ReadAtFrame(site));
        const std::vector<std::wstring> lines = Lines(e.Message());
        ASSERT_GE(lines.size(), 6u);
        const std::wstring caller =
            L"\\[0x[0-9a-f]{8,}\\]  kw::\\(anonymous "
            L"namespace\\)::FaultTranslation_NullReadIsThrownFromTheFaultingLineWithTheTraceOfIts"
            L"Callers_Test::TestBody\\(\\) -> ExceptionHandlingTest_posix\\.cpp:" +
            std::to_wstring(callLine);
        EXPECT_TRUE(LineMatches(lines[5], caller.c_str())) << lines[5];
    }
}

// A fault of each kind that the processor reports, with the type and the headline it gets: the
// access kind comes from the processor, and only address zero is null.
struct FaultKind {
    const char* name;
    void (*fault)(FaultSite&);
    const wchar_t* type;
    const wchar_t* code;
};

void PrintTo(const FaultKind& kind, std::ostream* out) { *out << kind.name; }

class FaultKinds : public testing::TestWithParam<FaultKind> {
protected:
    void SetUp() override { InstallTranslator(); }
};

TEST_P(FaultKinds, AreThrownWithTheirTypeAndCodeFromTheFaultingInstruction)
{
    FaultSite site;
    try {
        const DeliberateBadAccess expected;
        GetParam().fault(site);
        FAIL() << "no exception";
    } catch (const SehException& e) {
        EXPECT_EQ(e.GetTypeName(), GetParam().type);
        EXPECT_EQ(Lines(e.Message()).front(),
            L"[" + std::wstring(GetParam().type) + L"] " + GetParam().code + L" at address " + Address(site.pc));
    }
}

INSTANTIATE_TEST_SUITE_P(FaultTranslation, FaultKinds,
    testing::Values(FaultKind{"ReadBad", [](FaultSite& site) { ReadAt(8, site); }, L"SEH_AV_READ_BADPTR",
                        L"ACCESS_VIOLATION (0xc0000005)"},
        FaultKind{"WriteNull", [](FaultSite& site) { WriteAt(0, site); }, L"SEH_AV_WRITE_NULLPTR",
            L"ACCESS_VIOLATION (0xc0000005)"},
        FaultKind{"WriteBad", [](FaultSite& site) { WriteAt(4, site); }, L"SEH_AV_WRITE_BADPTR",
            L"ACCESS_VIOLATION (0xc0000005)"},
        FaultKind{"ExecuteBad", [](FaultSite& site) { CallAt(site.pc = 0x10, site); }, L"SEH_AV_DEP_BADPTR",
            L"ACCESS_VIOLATION (0xc0000005)"},
        FaultKind{"DivideByZero", [](FaultSite& site) { Divide(1, 0, site); }, L"SEH_GENERIC",
            L"INT_DIVIDE_BY_ZERO (0xc0000094)"},
        FaultKind{"UndefinedInstruction", [](FaultSite& site) { Undefined(site); }, L"SEH_GENERIC",
            L"ILLEGAL_INSTRUCTION (0xc000001d)"}),
    [](const testing::TestParamInfo<FaultKind>& kind) { return kind.param.name; });

TEST_F(FaultTranslation, ExecutingAtAddressZeroIsThrownFromTheCaller)
{
    FaultSite site;
    try {
        const DeliberateBadAccess expected;
        CallAt(0, site);
        FAIL() << "no exception";
    } catch (const SehException& e) {
        EXPECT_EQ(e.GetTypeName(), L"SEH_AV_DEP_NULLPTR");
        EXPECT_EQ(e.File(), L"..\\core\\ExceptionHandling.cpp");
        EXPECT_EQ(e.Line(), 91);
        const std::vector<std::wstring> lines = Lines(e.Message());
        ASSERT_GE(lines.size(), 6u);
        EXPECT_EQ(lines[0], L"[SEH_AV_DEP_NULLPTR] ACCESS_VIOLATION (0xc0000005) at address [0x00000000]");
        EXPECT_EQ(lines[4], L"[0x00000000]  -----");
        const std::wstring caller = L"\\[0x[0-9a-f]{8,}\\]  kw::\\(anonymous namespace\\)::CallAt\\(\\) -> "
                                    L"ExceptionHandlingTest_posix\\.cpp:" +
            std::to_wstring(site.line);
        EXPECT_TRUE(LineMatches(lines[5], caller.c_str())) << lines[5];
    }
}

TEST_F(FaultTranslation, TraceOfADeepStackStopsAtTheLimitWithTheMarker)
{
    FaultSite site;
    try {
        const DeliberateBadAccess expected;
        DescendThenRead(250, site);
        FAIL() << "no exception";
    } catch (const SehException& e) {
        const std::vector<std::wstring> lines = Lines(e.Message());
        ASSERT_EQ(lines.size(), 206u);
        EXPECT_EQ(lines[4], ReadAtFrame(site));
        EXPECT_TRUE(LineMatches(lines[203],
            L"\\[0x[0-9a-f]{8,}\\]  kw::\\(anonymous namespace\\)::DescendThenRead\\(\\) -> "
            L"ExceptionHandlingTest_posix\\.cpp:[0-9]+"))
            << lines[203];
        EXPECT_EQ(lines[204] + L"\r\n", kStackOverflowMarker);
    }
}

// That a worker's fault is translated and presented, the end-to-end cases of a faulting rule show.
TEST_F(FaultTranslation, WorkersOfTheProgramHaveAnAlternateStackOfTheirOwnWhileTheyRun)
{
    const auto alternateStack = [] {
        stack_t stack{};
        sigaltstack(nullptr, &stack);
        return stack;
    };
    stack_t first{};
    stack_t second{};
    StartProgramThread([&] {
        first = alternateStack();
        InstallTranslator();
        second = alternateStack();
    }).join();

    // Installed once for the thread, and unmapped when it ended.
    ASSERT_NE(first.ss_sp, nullptr);
    EXPECT_EQ(second.ss_sp, first.ss_sp);
    EXPECT_GE(first.ss_size, size_t{64} * 1024);
    const DeliberateBadAccess unmapped;
    const int synced = msync(first.ss_sp, first.ss_size, MS_ASYNC);
    const int error = errno;
    EXPECT_EQ(synced, -1);
    EXPECT_EQ(error, ENOMEM);
}

// A fault that cannot be thrown from ends the process after the last report, which goes to
// standard error (lines end there in "\n"). Each runs in a process of its own, started afresh
// for the one test.
class UnhandledFault : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(UnhandledFault, StackOverflowIsReportedFromTheAlternateStack)
{
    EXPECT_EXIT(
        {
            InstallTranslator();
            InstallUnhandledFilter();
            FaultSite site;
            DescendThenRead(1 << 30, site);
        },
        testing::ExitedWithCode(253),
        "^\\[EXCEPTION_UNHANDLED\\] \\(0xc00000fd\\) at address \\[0x[0-9a-f]{8,}\\]\n"
        "\n\\*\\*\\* Stack Trace \\(x86\\) \\*\\*\\*\n\n"
        "\\[0x[0-9a-f]{8,}\\]  kw::\\(anonymous namespace\\)::DescendThenRead\\(\\) -> "
        "ExceptionHandlingTest_posix\\.cpp:[0-9]+\n"
        ".*<--------------------MORE--FRAMES-------------------->\n"
        "\\[0x[0-9a-f]{8,}\\]  MODULE_BASE_ADDRESS\n");
}

TEST_F(UnhandledFault, FaultOnAThreadWithoutTheTranslatorIsReported)
{
    EXPECT_EXIT(
        {
            InstallUnhandledFilter();
            std::thread([] {
                FaultSite site;
                ReadAt(0, site);
            }).join();
        },
        testing::ExitedWithCode(5),
        "^\\[EXCEPTION_UNHANDLED\\] \\(0xc0000005\\) at address \\[0x[0-9a-f]{8,}\\]\n"
        "\n\\*\\*\\* Stack Trace \\(x86\\) \\*\\*\\*\n\n"
        "\\[0x[0-9a-f]{8,}\\]  kw::\\(anonymous namespace\\)::ReadAt\\(\\) -> "
        "ExceptionHandlingTest_posix\\.cpp:[0-9]+\n");
}

TEST_F(UnhandledFault, FaultInCodeWithoutUnwindTablesIsReported)
{
    EXPECT_EXIT(
        {
            InstallTranslator();
            InstallUnhandledFilter();
            std::uintptr_t pc = 0;
            KwReadWithoutUnwindTables(0, &pc);
        },
        testing::ExitedWithCode(5),
        "^\\[EXCEPTION_UNHANDLED\\] \\(0xc0000005\\) at address \\[0x[0-9a-f]{8,}\\]\n"
        "\n\\*\\*\\* Stack Trace \\(x86\\) \\*\\*\\*\n\n"
        "\\[0x[0-9a-f]{8,}\\]  KwReadWithoutUnwindTables\\(\\)\n"
        "\\[0x[0-9a-f]{8,}\\]  kw::\\(anonymous namespace\\)::UnhandledFault_FaultInCodeWithoutUnwindTablesIsReported_"
        "Test::TestBody\\(\\) -> ExceptionHandlingTest_posix\\.cpp:[0-9]+\n");
}

} // namespace
} // namespace kw

#endif
