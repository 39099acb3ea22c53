#include <gtest/gtest.h>

#include <regex>

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#else
#define VALGRIND_DISABLE_ERROR_REPORTING
#define VALGRIND_ENABLE_ERROR_REPORTING
#endif

#include "core/ExceptionHandling.h"
#include "util/strings/StringSystem.h"

#if defined(__x86_64__)

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

[[gnu::noinline]] void Divide(FaultSite& site)
{
    site.line = __LINE__ + 1;
    asm volatile("leaq 1f(%%rip), %%rcx\n\tmovq %%rcx, %0\n\txorl %%ecx, %%ecx\n\tcltd\n1:\tidivl %%ecx"
                 : "=m"(site.pc)
                 :
                 : "rax", "rcx", "rdx", "memory");
}

// Not a tail call: the frame that called stays on the stack.
[[gnu::noinline]] void CallAt(std::uintptr_t address, FaultSite& site)
{
    site.pc = address;
    reinterpret_cast<void (*)()>(address)();
    asm volatile("" : : : "memory");
}

// Frames of 1 KiB, so that an endless descent overflows the stack long before the sanitizers'
// books of frames do.
[[gnu::noinline]] int Descend(int depth, FaultSite& site)
{
    volatile char frame[1024];
    frame[0] = static_cast<char>(depth);
    if (depth == 0)
        return ReadAt(0, site);
    return Descend(depth - 1, site) + frame[0];
}

std::wstring Address(std::uintptr_t address) { return L"[0x" + ToHex(address, 8) + L"]"; }

std::wstring Quoted(const std::wstring& text)
{
    return std::regex_replace(text, std::wregex(LR"([\[\]().*$])"), L"\\$&");
}

// A fault of each kind that the processor reports: its type, its headline, where it is thrown
// from and its trace. The access kind comes from the processor, only address zero is null, and
// a fault at an address without code is thrown from its caller.
struct FaultKind {
    const char* name;
    void (*fault)(FaultSite&);
    const wchar_t* type;
    const wchar_t* code;
    const wchar_t* function; // of the faulting frame; null for none
};

void PrintTo(const FaultKind& kind, std::ostream* out) { *out << kind.name; }

class FaultTranslation : public testing::TestWithParam<FaultKind> { };

TEST_P(FaultTranslation, ThrowsFromTheFaultingInstructionWithItsTypeAndTrace)
{
    InstallTranslator();
    const FaultKind& kind = GetParam();
    FaultSite site;
    try {
        // Memcheck would report the deliberate bad access as an error of the program.
        VALGRIND_DISABLE_ERROR_REPORTING;
        kind.fault(site);
        FAIL() << "no exception";
    } catch (const SehException& e) {
        VALGRIND_ENABLE_ERROR_REPORTING;
        const std::wstring file =
            kind.function ? L"ExceptionHandlingTest_posix.cpp" : L"..\\core\\ExceptionHandling.cpp";
        const int line = kind.function ? site.line : 91;
        EXPECT_EQ(e.File() + L":" + std::to_wstring(e.Line()), file + L":" + std::to_wstring(line));
        const std::wstring faultingFrame =
            kind.function ? kind.function + (L"() -> " + file + L":" + std::to_wstring(line)) : L"-----";
        // The faulting frame, then its caller in this file, then whatever called the test.
        const std::wstring expected =
            Quoted(L"[" + std::wstring(kind.type) + L"] " + kind.code + L" at address " + Address(site.pc) + L"\r\n" +
                std::wstring(kStackTraceHeader) + Address(site.pc) + L"  " + faultingFrame + L"\r\n") +
            LR"(\[0x[0-9a-f]{8,}\]  .+\(\) -> ExceptionHandlingTest_posix\.cpp:\d+\r\n(.*\r\n)*\[0x[0-9a-f]{8,}\]  MODULE_BASE_ADDRESS\r\n)";
        EXPECT_TRUE(std::regex_match(e.Message(), std::wregex(expected))) << testing::PrintToString(e.Message());
    }
}

INSTANTIATE_TEST_SUITE_P(Faults, FaultTranslation,
    testing::Values(FaultKind{"ReadNull", [](FaultSite& site) { ReadAt(0, site); }, L"SEH_AV_READ_NULLPTR",
                        L"ACCESS_VIOLATION (0xc0000005)", L"kw::(anonymous namespace)::ReadAt"},
        FaultKind{"WriteBad", [](FaultSite& site) { WriteAt(4, site); }, L"SEH_AV_WRITE_BADPTR",
            L"ACCESS_VIOLATION (0xc0000005)", L"kw::(anonymous namespace)::WriteAt"},
        FaultKind{"ExecuteNull", [](FaultSite& site) { CallAt(0, site); }, L"SEH_AV_DEP_NULLPTR",
            L"ACCESS_VIOLATION (0xc0000005)", nullptr},
        FaultKind{"DivideByZero", [](FaultSite& site) { Divide(site); }, L"SEH_GENERIC",
            L"INT_DIVIDE_BY_ZERO (0xc0000094)", L"kw::(anonymous namespace)::Divide"}),
    [](const testing::TestParamInfo<FaultKind>& kind) { return kind.param.name; });

// A fault that cannot be thrown from ends the process after the last report, which goes to
// standard error (lines end there in "\n"), with the low byte of the fault's code.
TEST(UnhandledFault, StackOverflowOfAWorkerIsReportedFromItsAlternateStackWithTheTraceCut)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(StartProgramThread([] {
        FaultSite site;
        Descend(1 << 30, site);
    }).join(),
        testing::ExitedWithCode(253),
        "^\\[EXCEPTION_UNHANDLED\\] \\(0xc00000fd\\) at address \\[0x[0-9a-f]{8,}\\]\n"
        "\n\\*\\*\\* Stack Trace \\(x86\\) \\*\\*\\*\n\n"
        "(\\[0x[0-9a-f]{8,}\\]  kw::\\(anonymous namespace\\)::Descend\\(\\) -> "
        "ExceptionHandlingTest_posix\\.cpp:[0-9]+\n){200}"
        "<--------------------MORE--FRAMES-------------------->\n"
        "\\[0x[0-9a-f]{8,}\\]  MODULE_BASE_ADDRESS\n");
}

} // namespace
} // namespace kw

#endif
