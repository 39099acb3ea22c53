// Faults raised by this test code itself, translated on the faulting thread or, in a child
// process of this test program, reported by the process's last report, with the traces that
// the debug-help library gives for them.
#include <gtest/gtest.h>

#include <windows.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "core/ExceptionHandling.h"
#include "core/ExceptionPresenter.h"
#include "os/win32/Handles_win32.h"
#include "tests/unit/ScopedEnvironment.h"
#include "util/strings/StringSystem.h"

namespace kw {
namespace {

constexpr std::wstring_view kThisFile = L"ExceptionHandlingTest_win32.cpp";

// The line of the statement that is about to fault, recorded just before it: a call with a
// harmless argument tells the line without a fault.
volatile int g_faultLine = 0;
volatile int g_sink = 0;
volatile int g_depthLimit = INT_MAX;
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

__attribute__((noipa)) void WriteThrough(volatile int* pointer)
{
    g_faultLine = __LINE__ + 1;
    *pointer = 1;
}

__attribute__((noipa)) int DivideBy(int divisor)
{
    volatile int dividend = 1;
    g_faultLine = __LINE__ + 1;
    return dividend / divisor;
}

__attribute__((noipa)) int CallThrough(int (*function)())
{
    g_faultLine = __LINE__ + 1;
    return function() + 1;
}

__attribute__((noipa)) int ReadAtDepth(int depth)
{
    const int value = depth == 0 ? ReadThrough(nullptr) : ReadAtDepth(depth - 1);
    g_sink = value; // keeps the recursion a recursion
    return value;
}

__attribute__((noipa)) int Overflow(int depth)
{
    volatile char block[512];
    block[0] = static_cast<char>(depth);
    const int value = depth < g_depthLimit ? Overflow(depth + 1) : 0;
    return value + block[0];
}

int LineOf(void (*harmlessCall)())
{
    harmlessCall();
    return g_faultLine;
}

std::wstring ModuleBaseLine()
{
    wchar_t line[64] = {};
    std::swprintf(line, std::size(line), L"[0x%.8llx]  MODULE_BASE_ADDRESS",
        static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(GetModuleHandleW(nullptr))));
    return line;
}

std::wstring RegexQuoted(std::wstring_view text)
{
    std::wstring quoted;
    for (const wchar_t c : text) {
        if (std::wstring_view(L"\\^$.|?*+()[]{}").find(c) != std::wstring_view::npos)
            quoted += L'\\';
        quoted += c;
    }
    return quoted;
}

const std::wregex kFrameLine(LR"(\[0x[0-9a-f]{8,16}\]  (-----|.+\(\))( -> [^ ]+:\d+)?)");
const std::wregex kFaultAddress(LR"(.* at address (\[0x[0-9a-f]{8,16}\]))");

// The first frame of a fault: the faulting instruction, at the address of the headline.
std::wstring FaultFrame(std::wstring_view address, std::wstring_view function, int line)
{
    return std::wstring(address) + L"  " + std::wstring(function) + L"() -> " + std::wstring(kThisFile) + L":" +
        std::to_wstring(line);
}

// A frame of `function` at any line of `file`: a caller's line is that of its return address,
// where the compiler put the code after the call.
bool IsFrameOf(const std::wstring& frame, std::wstring_view function, std::wstring_view file = kThisFile)
{
    return std::regex_match(frame,
        std::wregex(
            LR"(\[0x[0-9a-f]{8,16}\]  )" + RegexQuoted(function) + LR"(\(\) -> )" + RegexQuoted(file) + LR"(:\d+)"));
}

// The frame lines of a trace, after checking all around them: the header, the shape of every
// line, the overflow marker exactly when the limit was reached, and the module-base line.
std::vector<std::wstring> FramesOf(std::wstring_view trace)
{
    std::vector<std::wstring> frames;
    if (!trace.starts_with(kStackTraceHeader)) {
        ADD_FAILURE() << "no trace header in: " << ToUtf8(std::wstring(trace));
        return frames;
    }
    for (size_t start = kStackTraceHeader.size(); start < trace.size();) {
        const size_t end = trace.find(L"\r\n", start);
        if (end == std::wstring_view::npos) {
            ADD_FAILURE() << "the trace does not end with a line break";
            return {};
        }
        frames.emplace_back(trace.substr(start, end - start));
        start = end + 2;
    }
    if (frames.empty() || frames.back() != ModuleBaseLine()) {
        ADD_FAILURE() << "the trace does not end with the module base: " << ToUtf8(std::wstring(trace));
        return {};
    }
    frames.pop_back();
    const bool marked = !frames.empty() && frames.back() + L"\r\n" == kStackOverflowMarker;
    if (marked)
        frames.pop_back();
    for (const std::wstring& frame : frames)
        EXPECT_TRUE(std::regex_match(frame, kFrameLine)) << ToUtf8(frame);
    EXPECT_EQ(marked, frames.size() == static_cast<size_t>(kFaultTraceFrames));
    return frames;
}

// A fault report: its one headline, the address that headline names, and the frames.
struct Report {
    std::wstring headline;
    std::wstring address;
    std::vector<std::wstring> frames;
};

Report Dissect(std::wstring_view message)
{
    Report report;
    const size_t lineEnd = message.find(L"\r\n");
    if (lineEnd == std::wstring_view::npos || message.substr(lineEnd + 2).find(kStackTraceHeader) != 0) {
        ADD_FAILURE() << "not one headline and a trace: " << ToUtf8(std::wstring(message));
        return report;
    }
    report.headline = message.substr(0, lineEnd);
    std::wsmatch match;
    if (std::regex_match(report.headline, match, kFaultAddress))
        report.address = match[1].str();
    report.frames = FramesOf(message.substr(lineEnd + 2));
    return report;
}

template <typename Fault> SehException Translated(Fault fault)
{
    InstallTranslator();
    try {
        g_sink = fault();
    } catch (const SehException& e) {
        return e;
    }
    ADD_FAILURE() << "the fault was not translated";
    return SehException(L"", L"", 0, kSehGeneric);
}

TEST(FaultTranslation, EachFaultIsThrownFromItsInstructionWithItsKindAndTrace)
{
    const int readLine = LineOf([] { g_sink = ReadThrough(&g_sink); });
    g_unwound = false;
    const SehException read = Translated([] { return ReadThrough(nullptr); });
    EXPECT_TRUE(g_unwound) << "the faulting frame's cleanup did not run";
    EXPECT_EQ(read.GetType(), kExceptionSeh);
    EXPECT_EQ(read.GetTypeName(), L"SEH_AV_READ_NULLPTR");
    EXPECT_EQ(read.Code(), kApplicationErrorCode);
    EXPECT_EQ(read.File(), kThisFile);
    EXPECT_EQ(read.Line(), readLine);
    Report report = Dissect(read.Message());
    EXPECT_EQ(report.headline, L"[SEH_AV_READ_NULLPTR] ACCESS_VIOLATION (0xc0000005) at address " + report.address);
    ASSERT_GE(report.frames.size(), 2u);
    EXPECT_EQ(report.frames[0], FaultFrame(report.address, L"kw::ReadThrough", readLine));
    EXPECT_TRUE(IsFrameOf(report.frames[1],
        L"kw::FaultTranslation_EachFaultIsThrownFromItsInstructionWithItsKindAndTrace_Test::TestBody"))
        << ToUtf8(report.frames[1]);

    const int writeLine = LineOf([] { WriteThrough(&g_sink); });
    const SehException write = Translated([] {
        WriteThrough(reinterpret_cast<int*>(4));
        return 0;
    });
    report = Dissect(write.Message());
    EXPECT_EQ(write.GetTypeName(), L"SEH_AV_WRITE_BADPTR");
    EXPECT_EQ(report.headline, L"[SEH_AV_WRITE_BADPTR] ACCESS_VIOLATION (0xc0000005) at address " + report.address);
    ASSERT_FALSE(report.frames.empty());
    EXPECT_EQ(report.frames[0], FaultFrame(report.address, L"kw::WriteThrough", writeLine));
    EXPECT_EQ(write.Line(), writeLine);

    const int divideLine = LineOf([] { g_sink = DivideBy(1); });
    const SehException divide = Translated([] { return DivideBy(0); });
    report = Dissect(divide.Message());
    EXPECT_EQ(divide.GetTypeName(), L"SEH_GENERIC");
    EXPECT_EQ(report.headline, L"[SEH_GENERIC] INT_DIVIDE_BY_ZERO (0xc0000094) at address " + report.address);
    ASSERT_FALSE(report.frames.empty());
    EXPECT_EQ(report.frames[0], FaultFrame(report.address, L"kw::DivideBy", divideLine));
    EXPECT_EQ(divide.Line(), divideLine);
}

TEST(FaultTranslation, CallThroughNullIsThrownFromTheCallAndKeepsTheDefaultLocation)
{
    const SehException call = Translated([] { return CallThrough(nullptr); });
    const Report report = Dissect(call.Message());
    EXPECT_EQ(call.GetTypeName(), L"SEH_AV_DEP_NULLPTR");
    EXPECT_EQ(report.headline, L"[SEH_AV_DEP_NULLPTR] ACCESS_VIOLATION (0xc0000005) at address [0x00000000]");
    ASSERT_GE(report.frames.size(), 2u);
    EXPECT_EQ(report.frames[0], L"[0x00000000]  -----");
    EXPECT_TRUE(IsFrameOf(report.frames[1], L"kw::CallThrough")) << ToUtf8(report.frames[1]);
    // Nothing names the source line of the faulting frame.
    EXPECT_EQ(call.File(), L"..\\core\\ExceptionHandling.cpp");
    EXPECT_EQ(call.Line(), 91);
}

TEST(FaultTranslation, DeepStackEndsItsTraceWithTheMarker)
{
    const int readLine = LineOf([] { g_sink = ReadThrough(&g_sink); });
    const SehException deep = Translated([] { return ReadAtDepth(250); });
    const Report report = Dissect(deep.Message());
    ASSERT_EQ(report.frames.size(), static_cast<size_t>(kFaultTraceFrames));
    EXPECT_EQ(report.frames[0], FaultFrame(report.address, L"kw::ReadThrough", readLine));
    EXPECT_TRUE(IsFrameOf(report.frames[1], L"kw::ReadAtDepth")) << ToUtf8(report.frames[1]);
    EXPECT_TRUE(IsFrameOf(report.frames[2], L"kw::ReadAtDepth")) << ToUtf8(report.frames[2]);
    // Every deeper frame returns to the same recursive call.
    for (size_t index = 3; index < report.frames.size(); ++index)
        ASSERT_EQ(report.frames[index], report.frames[2]) << index;
}

// The last report ends the process, so each of its cases runs in a child process of this test
// program: the one test named, with this variable set.
constexpr char kChildVariable[] = "KW_UNHANDLED_FAULT_CHILD";

bool InChild() { return std::getenv(kChildVariable) != nullptr; }

struct ChildRun {
    DWORD exitCode = 0;
    std::wstring output;
};

ChildRun RunChild(const std::wstring& test)
{
    const ScopedEnvironment child(kChildVariable, "1");
    wchar_t self[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, self, MAX_PATH);
    std::wstring commandLine = L"\"" + std::wstring(self) + L"\" --gtest_filter=" + test;

    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    FileOwner readEnd;
    FileOwner writeEnd;
    HANDLE pipeEnds[2] = {};
    if (!CreatePipe(&pipeEnds[0], &pipeEnds[1], &inherited, 0)) {
        ADD_FAILURE() << "no pipe";
        return {};
    }
    readEnd = FileOwner(pipeEnds[0]);
    writeEnd = FileOwner(pipeEnds[1]);
    SetHandleInformation(readEnd.Get(), HANDLE_FLAG_INHERIT, 0);

    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = writeEnd.Get();
    startup.hStdError = writeEnd.Get();
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &started)) {
        ADD_FAILURE() << "the child did not start";
        return {};
    }
    const KernelObjectOwner process(started.hProcess);
    const KernelObjectOwner mainThread(started.hThread);
    writeEnd.Reset();

    std::string bytes;
    char buffer[4096];
    DWORD read = 0;
    while (ReadFile(readEnd.Get(), buffer, sizeof(buffer), &read, nullptr) && read != 0)
        bytes.append(buffer, read);
    ChildRun run;
    WaitForSingleObject(process.Get(), INFINITE);
    GetExitCodeProcess(process.Get(), &run.exitCode);
    run.output = FromUtf8(bytes);
    return run;
}

// The last report as the child wrote it to its console, after what the test framework wrote.
Report LastReport(const ChildRun& run)
{
    const size_t start = run.output.find(L"[EXCEPTION_UNHANDLED] ");
    if (start == std::wstring::npos || !run.output.ends_with(L"\r\n")) {
        ADD_FAILURE() << "no last report in: " << ToUtf8(run.output);
        return {};
    }
    // The console writes the report as one line, with a line break of its own.
    return Dissect(std::wstring_view(run.output).substr(start, run.output.size() - start - 2));
}

TEST(UnhandledFaultChild, FaultOfThreadWithoutTranslator)
{
    if (!InChild())
        GTEST_SKIP() << "a case of UnhandledFaults, run in a child process";
    ExceptionPresenter::Instance().SetConsoleMode(true);
    InstallUnhandledFilter();
    std::thread([] { g_sink = ReadThrough(nullptr); }).join();
}

TEST(UnhandledFaultChild, StackOverflow)
{
    if (!InChild())
        GTEST_SKIP() << "a case of UnhandledFaults, run in a child process";
    ExceptionPresenter::Instance().SetConsoleMode(true);
    StartProgramThread([] { g_sink = Overflow(0); }).join();
}

TEST(UnhandledFaults, FaultOfThreadWithoutTranslatorIsReportedAndEndsTheProcess)
{
    const int readLine = LineOf([] { g_sink = ReadThrough(&g_sink); });
    const ChildRun run = RunChild(L"UnhandledFaultChild.FaultOfThreadWithoutTranslator");
    EXPECT_EQ(run.exitCode, kAccessViolationCode);
    const Report report = LastReport(run);
    EXPECT_EQ(report.headline, L"[EXCEPTION_UNHANDLED] (0xc0000005) at address " + report.address);
    ASSERT_FALSE(report.frames.empty());
    EXPECT_EQ(report.frames[0], FaultFrame(report.address, L"kw::ReadThrough", readLine));
}

TEST(UnhandledFaults, StackOverflowIsReportedWithTheMarkerAndEndsTheProcess)
{
    const ChildRun run = RunChild(L"UnhandledFaultChild.StackOverflow");
    EXPECT_EQ(run.exitCode, kStackOverflowCode);
    const Report report = LastReport(run);
    EXPECT_EQ(report.headline, L"[EXCEPTION_UNHANDLED] (0xc00000fd) at address " + report.address);
    ASSERT_EQ(report.frames.size(), static_cast<size_t>(kFaultTraceFrames));
    EXPECT_TRUE(report.frames[0].starts_with(report.address + L"  ") && IsFrameOf(report.frames[0], L"kw::Overflow"))
        << ToUtf8(report.frames[0]);
    EXPECT_TRUE(IsFrameOf(report.frames[1], L"kw::Overflow")) << ToUtf8(report.frames[1]);
    for (size_t index = 2; index < report.frames.size(); ++index)
        ASSERT_EQ(report.frames[index], report.frames[1]) << index;
}

} // namespace
} // namespace kw
