#include <gtest/gtest.h>

#include "core/ExceptionHandling.h"

namespace kw {
namespace {

// Forms of a fault report that no fault raised in a test reaches.
struct FaultText {
    const char* name;
    std::wstring composed;
    std::wstring expected;
};

void PrintTo(const FaultText& text, std::ostream* out) { *out << text.name; }

class FaultTexts : public testing::TestWithParam<FaultText> { };

TEST_P(FaultTexts, ReadAsTheReportShowsThem) { EXPECT_EQ(GetParam().composed, GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(Faults, FaultTexts,
    testing::Values(FaultText{"UnknownCode", FaultHeadline(0xE06D7363, 0x1234),
                        L"Unknown SEH Exception (0xe06d7363) at address [0x00001234]\r\n"},
        FaultText{"SourceInWindowsFolders", StackFrameLine({0x401A2B, "kw::Scan", "..\\src/rules\\Scan.cpp", 7}),
            L"[0x00401a2b]  kw::Scan() -> Scan.cpp:7\r\n"},
        FaultText{"FunctionCutAtItsBuffer", StackFrameLine({0x10, std::string(1998, 'f'), "", 0}),
            L"[0x00000010]  " + std::wstring(1998, L'f') + L"(\r\n"},
        FaultText{"SourceCutAtItsBuffer", StackFrameLine({0x10, "f", std::string(256, 'a'), 123}),
            L"[0x00000010]  f() -> " + std::wstring(256, L'a') + L":12\r\n"},
        FaultText{"TraceCutAtTheLimit", FormatStackTrace({{0x1000, "a", "", 0}, {0x2000, "b", "", 0}}, 1, 0x400000),
            L"\r\n*** Stack Trace (x86) ***\r\n\r\n[0x00001000]  a()\r\n"
            L"<--------------------MORE--FRAMES-------------------->\r\n[0x00400000]  MODULE_BASE_ADDRESS\r\n"}),
    [](const testing::TestParamInfo<FaultText>& text) { return text.param.name; });

} // namespace
} // namespace kw
