#include <gtest/gtest.h>

#include "core/ExceptionHandling.h"

namespace kw {
namespace {

FaultRecord AccessViolation(std::uintptr_t access, std::uintptr_t address)
{
    return {kAccessViolationCode, 0x401000, {access, address}};
}

TEST(FaultClassification, OnlyAddressZeroIsNullAndOnlyReadWriteAndExecuteAreAccessKinds)
{
    EXPECT_EQ(ClassifyAccessViolation(AccessViolation(kReadAccess, 0)), kSehReadNull);
    EXPECT_EQ(ClassifyAccessViolation(AccessViolation(kReadAccess, 1)), kSehReadBad);
    EXPECT_EQ(ClassifyAccessViolation(AccessViolation(kReadAccess, ~std::uintptr_t{0})), kSehReadBad);
    EXPECT_EQ(ClassifyAccessViolation(AccessViolation(kWriteAccess, 0)), kSehWriteNull);
    EXPECT_EQ(ClassifyAccessViolation(AccessViolation(kWriteAccess, 4)), kSehWriteBad);
    EXPECT_EQ(ClassifyAccessViolation(AccessViolation(kExecuteAccess, 0)), kSehDepNull);
    EXPECT_EQ(ClassifyAccessViolation(AccessViolation(kExecuteAccess, 0x10)), kSehDepBad);

    // Access types 2 to 7 do not exist; another code with the same parameters is no violation;
    // a record without the address cannot be classified.
    EXPECT_EQ(ClassifyAccessViolation(AccessViolation(2, 0)), kSehGeneric);
    EXPECT_EQ(ClassifyAccessViolation(AccessViolation(7, 4)), kSehGeneric);
    EXPECT_EQ(ClassifyAccessViolation({kInPageErrorCode, 0, {kReadAccess, 0}}), kSehGeneric);
    EXPECT_EQ(ClassifyAccessViolation({kAccessViolationCode, 0, {kReadAccess}}), kSehGeneric);
    EXPECT_EQ(ClassifyAccessViolation({kAccessViolationCode, 0, {}}), kSehGeneric);
}

TEST(FaultHeadline, NamesKnownCodesAndSaysSoOfUnknownOnesInLowerCaseHex)
{
    EXPECT_EQ(
        FaultHeadline(kAccessViolationCode, 0x0040ABCD), L"ACCESS_VIOLATION (0xc0000005) at address [0x0040abcd]\r\n");
    EXPECT_EQ(FaultHeadline(kStackOverflowCode, 0), L"STACK_OVERFLOW (0xc00000fd) at address [0x00000000]\r\n");
    EXPECT_EQ(
        FaultHeadline(kDatatypeMisalignmentCode, 8), L"DATATYPE_MISALIGNMENT (0x80000002) at address [0x00000008]\r\n");
    EXPECT_EQ(FaultHeadline(0xE06D7363, 0x1234), L"Unknown SEH Exception (0xe06d7363) at address [0x00001234]\r\n");
    EXPECT_EQ(FaultHeadline(5, 0x1234), L"Unknown SEH Exception (0x00000005) at address [0x00001234]\r\n");
    if constexpr (sizeof(std::uintptr_t) == 8) {
        EXPECT_EQ(FaultHeadline(kIntDivideByZeroCode, static_cast<std::uintptr_t>(0x7FFE12345678)),
            L"INT_DIVIDE_BY_ZERO (0xc0000094) at address [0x7ffe12345678]\r\n");
    }
}

TEST(StackFrameLine, ShowsTheFunctionAndTheFileWithoutFoldersOfEitherSeparator)
{
    EXPECT_EQ(StackFrameLine({0x401A2B, "kw::Scan", "/build/src/rules/Scan.cpp", 120}),
        L"[0x00401a2b]  kw::Scan() -> Scan.cpp:120\r\n");
    EXPECT_EQ(StackFrameLine({0x401A2B, "kw::Scan", "C:\\build\\src\\Scan.cpp", 7}),
        L"[0x00401a2b]  kw::Scan() -> Scan.cpp:7\r\n");
    EXPECT_EQ(StackFrameLine({0x401A2B, "kw::Scan", "..\\src/rules\\Scan.cpp", 7}),
        L"[0x00401a2b]  kw::Scan() -> Scan.cpp:7\r\n");
    EXPECT_EQ(StackFrameLine({0x401A2B, "kw::Scan", "Scan.cpp", 7}), L"[0x00401a2b]  kw::Scan() -> Scan.cpp:7\r\n");
    EXPECT_EQ(StackFrameLine({0x401A2B, "kw::Scan", "", 0}), L"[0x00401a2b]  kw::Scan()\r\n");
    EXPECT_EQ(StackFrameLine({0x401A2B, "", "/src/Scan.cpp", 9}), L"[0x00401a2b]  ----- -> Scan.cpp:9\r\n");
    EXPECT_EQ(StackFrameLine({0x10, "", "", 0}), L"[0x00000010]  -----\r\n");
}

TEST(StackFrameLine, CutsTheFunctionAndTheSourceTextsAtTheirBuffers)
{
    // The function text is "%hs()" in 2000 characters, terminator included.
    const std::string fits(1997, 'f');
    EXPECT_EQ(StackFrameLine({0x10, fits, "", 0}), L"[0x00000010]  " + std::wstring(1997, L'f') + L"()\r\n");
    EXPECT_EQ(StackFrameLine({0x10, fits + "g", "", 0}), L"[0x00000010]  " + std::wstring(1997, L'f') + L"g(\r\n");

    // The source text is "%hs:%ld" in 260 characters.
    EXPECT_EQ(StackFrameLine({0x10, "f", std::string(255, 'a'), 123}),
        L"[0x00000010]  f() -> " + std::wstring(255, L'a') + L":123\r\n");
    EXPECT_EQ(StackFrameLine({0x10, "f", std::string(256, 'a'), 123}),
        L"[0x00000010]  f() -> " + std::wstring(256, L'a') + L":12\r\n");
}

TEST(StackTraceText, MarkerFollowsTheFrameThatReachesTheLimitAndNoOther)
{
    const std::vector<StackFrame> three = {{0x1000, "a", "", 0}, {0x2000, "b", "", 0}, {0x3000, "c", "", 0}};
    const std::wstring lines = L"[0x00001000]  a()\r\n[0x00002000]  b()\r\n[0x00003000]  c()\r\n";
    const std::wstring base = L"[0x00400000]  MODULE_BASE_ADDRESS\r\n";
    const std::wstring header(kStackTraceHeader);

    EXPECT_EQ(FormatStackTrace(three, 4, 0x400000), header + lines + base);
    EXPECT_EQ(FormatStackTrace(three, 3, 0x400000), header + lines + std::wstring(kStackOverflowMarker) + base);
    EXPECT_EQ(FormatStackTrace(three, 2, 0x400000),
        header + L"[0x00001000]  a()\r\n[0x00002000]  b()\r\n" + std::wstring(kStackOverflowMarker) + base);
    EXPECT_EQ(FormatStackTrace({}, 200, 0x400000), header + base);
    EXPECT_EQ(header, L"\r\n*** Stack Trace (x86) ***\r\n\r\n");
    EXPECT_EQ(kStackOverflowMarker, L"<--------------------MORE--FRAMES-------------------->\r\n");
}

TEST(ThrowLocation, IsTheFirstSourceOfATraceTrimmedElseTheDefaultLocation)
{
    const SourceLocation plain = ThrowLocationFromTrace(L"[0x00401000]  kw::Scan() -> Scan.cpp:120\r\n");
    EXPECT_EQ(plain.file, L"Scan.cpp");
    EXPECT_EQ(plain.line, 120);

    const SourceLocation blanks = ThrowLocationFromTrace(L"[0x00401000]  f() -> \t Scan.cpp \t: 42\t\r\n");
    EXPECT_EQ(blanks.file, L"Scan.cpp");
    EXPECT_EQ(blanks.line, 42);

    const SourceLocation first =
        ThrowLocationFromTrace(L"[0x1]  f() -> One.cpp:1\r\n[0x2]  g() -> Two.cpp:2\r\n[0x3]  MODULE_BASE_ADDRESS\r\n");
    EXPECT_EQ(first.file, L"One.cpp");
    EXPECT_EQ(first.line, 1);

    const SourceLocation none = ThrowLocationFromTrace(L"[0x00401000]  kw::Scan()\r\n");
    EXPECT_EQ(none.file, L"..\\core\\ExceptionHandling.cpp");
    EXPECT_EQ(none.line, 91);
    EXPECT_EQ(ThrowLocationFromTrace(L"").line, 91);
}

TEST(TranslatedFault, WithoutAContextHasNoTraceAndTheDefaultLocation)
{
    const FaultRecord write = AccessViolation(kWriteAccess, 0);
    const SehException translated = TranslateFault(&write, nullptr);
    EXPECT_EQ(
        translated.Message(), L"[SEH_AV_WRITE_NULLPTR] ACCESS_VIOLATION (0xc0000005) at address [0x00401000]\r\n");
    EXPECT_EQ(translated.GetTypeName(), L"SEH_AV_WRITE_NULLPTR");
    EXPECT_EQ(translated.File(), L"..\\core\\ExceptionHandling.cpp");
    EXPECT_EQ(translated.Line(), 91);
    EXPECT_EQ(translated.Code(), kApplicationErrorCode);

    const SehException unidentified = TranslateFault(nullptr, nullptr);
    EXPECT_EQ(unidentified.Message(), L"Unidentified SEH Exception !");
    EXPECT_EQ(unidentified.GetTypeName(), L"SEH_GENERIC");
    EXPECT_EQ(unidentified.File(), L"..\\core\\ExceptionHandling.cpp");
    EXPECT_EQ(unidentified.Line(), 116);
}

} // namespace
} // namespace kw
