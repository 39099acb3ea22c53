// Faults raised by this test code itself, translated on the faulting thread or reported by the
// process's last report, with the traces that the debug-help library gives for them.
#include <gtest/gtest.h>

#include <windows.h>

#include <regex>

#include "core/ExceptionHandling.h"
#include "core/ExceptionPresenter.h"
#include "os/Console.h"
#include "util/strings/StringSystem.h"

namespace kw {
namespace {

// The line of the statement that is about to fault, recorded just before it: a call with a
// harmless argument tells the line without a fault.
volatile int g_faultLine = 0;
volatile int g_sink = 0;
bool g_unwound = false;

// Its destructor runs when the function that holds it ends, by return or by an exception.
struct UnwindWitness {
    ~UnwindWitness() { g_unwound = true; }
};

__attribute__((noipa)) int ReadThrough(const volatile int* pointer)
{
    UnwindWitness witness;
    g_faultLine = __LINE__ + 1;
    return *pointer;
}

__attribute__((noipa)) int DivideBy(int divisor)
{
    UnwindWitness witness;
    volatile int dividend = 1;
    g_faultLine = __LINE__ + 1;
    return dividend / divisor;
}

__attribute__((noipa)) int CallThrough(int (*function)())
{
    UnwindWitness witness;
    g_faultLine = __LINE__ + 1;
    return function() + 1;
}

__attribute__((noipa)) int Overflow(int depth)
{
    volatile char block[512];
    block[0] = static_cast<char>(depth);
    return depth < 0 ? 0 : Overflow(depth + 1) + block[0];
}

std::wstring Quoted(const std::wstring& text)
{
    return std::regex_replace(text, std::wregex(LR"([\\\[\]().*$])"), L"\\$&");
}

// A fault of each kind, with its type, its headline, where it is thrown from and its trace: the
// faulting frame at the headline's address, its caller in this file, and the frames up to the
// limit. The faulting frame's cleanup runs.
struct FaultKind {
    const char* name;
    int (*fault)();
    int (*harmless)(); // the same statement without the fault, for its line; null for none
    const wchar_t* type;
    const wchar_t* code;
    const wchar_t* function; // of the faulting frame
};

void PrintTo(const FaultKind& kind, std::ostream* out) { *out << kind.name; }

class FaultTranslation : public testing::TestWithParam<FaultKind> { };

TEST_P(FaultTranslation, ThrowsFromTheFaultingInstructionWithItsTypeAndTrace)
{
    const FaultKind& kind = GetParam();
    const int line = kind.harmless ? (kind.harmless(), g_faultLine) : 91;
    const std::wstring file = kind.harmless ? L"ExceptionHandlingTest_win32.cpp" : L"..\\core\\ExceptionHandling.cpp";
    InstallTranslator();
    g_unwound = false;
    try {
        g_sink = kind.fault();
        FAIL() << "no exception";
    } catch (const SehException& e) {
        EXPECT_TRUE(g_unwound);
        EXPECT_EQ(e.File() + L":" + std::to_wstring(e.Line()), file + L":" + std::to_wstring(line));
        const std::wstring faultingFrame =
            kind.harmless ? kind.function + (L"() -> " + file + L":" + std::to_wstring(line)) : kind.function;
        const std::wstring frame = LR"(\[0x[0-9a-f]{8,16}\]  (-----|.+\(\))( -> [^ ]+:\d+)?\r\n)";
        const std::wstring expected = Quoted(L"[" + std::wstring(kind.type) + L"] " + kind.code + L" at address ") +
            LR"((\[0x[0-9a-f]{8,16}\])\r\n)" + Quoted(std::wstring(kStackTraceHeader)) + L"\\1  " +
            Quoted(faultingFrame + L"\r\n") +
            LR"(\[0x[0-9a-f]{8,16}\]  .+\(\) -> ExceptionHandlingTest_win32\.cpp:\d+\r\n)" + L"(" + frame +
            LR"(){0,197}\[0x[0-9a-f]{8,16}\]  MODULE_BASE_ADDRESS\r\n)";
        EXPECT_TRUE(std::regex_match(e.Message(), std::wregex(expected))) << ToUtf8(e.Message());
    }
}

INSTANTIATE_TEST_SUITE_P(Faults, FaultTranslation,
    testing::Values(FaultKind{"ReadNull", [] { return ReadThrough(nullptr); }, [] { return ReadThrough(&g_sink); },
                        L"SEH_AV_READ_NULLPTR", L"ACCESS_VIOLATION (0xc0000005)", L"kw::ReadThrough"},
        FaultKind{"DivideByZero", [] { return DivideBy(0); }, [] { return DivideBy(1); }, L"SEH_GENERIC",
            L"INT_DIVIDE_BY_ZERO (0xc0000094)", L"kw::DivideBy"},
        FaultKind{"CallThroughNull", [] { return CallThrough(nullptr); }, nullptr, L"SEH_AV_DEP_NULLPTR",
            L"ACCESS_VIOLATION (0xc0000005)", L"-----"}),
    [](const testing::TestParamInfo<FaultKind>& kind) { return kind.param.name; });

// The last report ends the process with the fault's code. The console writer's lines go to
// standard error too, where the test framework reads what the process wrote.
void ReportToStandardError()
{
    ExceptionPresenter::Instance().SetConsoleMode(true);
    ConsoleWriter::Get().SetSecondSink([](std::wstring_view line) {
        const std::string bytes = ToUtf8(std::wstring(line));
        DWORD written = 0;
        return WriteFile(GetStdHandle(STD_ERROR_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                   nullptr) != 0;
    });
}

TEST(UnhandledFault, StackOverflowOfAWorkerIsReportedAndEndsTheProcess)
{
    EXPECT_EXIT(
        {
            ReportToStandardError();
            StartProgramThread([] { g_sink = Overflow(0); }).join();
        },
        testing::ExitedWithCode(static_cast<int>(kStackOverflowCode)),
        "^\\[EXCEPTION_UNHANDLED\\] \\(0xc00000fd\\) at address \\[0x\\w+\\]\r?\n"
        "\r?\n\\*\\*\\* Stack Trace \\(x86\\) \\*\\*\\*\r?\n\r?\n"
        "\\[0x\\w+\\]  kw::Overflow\\(\\) -> ExceptionHandlingTest_win32\\.cpp:\\d+\r?\n");
}

} // namespace
} // namespace kw
