#include <gtest/gtest.h>

#include <regex>

#include "core/Exception.h"
#include "os/SystemError.h"
#include "util/strings/StringSystem.h"

namespace kw {
namespace {

const std::type_info& RethrownType(const IException& e)
{
    try {
        e.Rethrow();
    } catch (const IException& thrown) {
        return typeid(thrown);
    }
    return typeid(void);
}

TEST(Exceptions, EveryKindKeepsItsTypeWhenRethrownOrCloned)
{
    const Exception generic(L"g.cpp", 1, L"generic");
    const WindowsException windows(L"w.cpp", 2, 5u);
    const SehException seh(L"[SEH_AV_WRITE_BADPTR] fault", L"s.cpp", 3, kSehWriteBad);

    // A clone with a trace adds the trace of the cloning thread to the message, once.
    const std::wregex traced(LR"((.*)\r\n\r\n\*\*\* Stack Trace \(x86\) \*\*\*\r\n\r\n(\[0x[0-9a-f]{8,}\]  .+\r\n)+)");
    for (const IException* original : std::vector<const IException*>{&generic, &windows, &seh}) {
        const std::unique_ptr<IException> clone = original->Clone(true);
        std::wsmatch match;
        EXPECT_TRUE(std::regex_match(clone->Message(), match, traced)) << ToUtf8(clone->Message());
        EXPECT_EQ(match[1].str(), original->Message());
        EXPECT_EQ(clone->Clone(true)->Message(), clone->Message());
        EXPECT_EQ(RethrownType(*original), typeid(*original));
        EXPECT_EQ(RethrownType(*clone), typeid(*original));
        EXPECT_EQ(clone->File() + L":" + std::to_wstring(clone->Line()) + L":" + ToHex(clone->Code()),
            original->File() + L":" + std::to_wstring(original->Line()) + L":" + ToHex(original->Code()));
    }
}

// Messages the user reads, each with the code the exception carries.
struct MessageCase {
    const char* name;
    std::wstring (*compose)();
    std::wstring expected;
};

void PrintTo(const MessageCase& message, std::ostream* out) { *out << message.name; }

std::wstring Shown(const IException& e) { return e.Message() + L" [" + ToHex(e.Code(), 8) + L"]"; }

class ExceptionMessages : public testing::TestWithParam<MessageCase> { };

TEST_P(ExceptionMessages, ReadAsComposed) { EXPECT_EQ(GetParam().compose(), GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(Exceptions, ExceptionMessages,
    testing::Values(
        MessageCase{"ErrorCodeInSignedDecimal", [] { return Shown(WindowsException(L"f", 1, 0x80004005u)); },
            L"Win32 Error [-2147467259]: \"" + SystemMessageText(0x80004005u).value() + L"\" [80004005]"},
        MessageCase{"ComErrorWithDescription",
            [] {
                return Shown(WindowsException(L"f", 1, ComError{-2147467259, L"The disk is full"}));
            },
            L"Win32 COM Error [-2147467259]: { The disk is full } [80004005]"},
        MessageCase{"NumberedTemplateWithItsInsert",
            [] { return Shown(Exception(KW_HERE, 2137u, L"C:\\ProgramData\\PathVariables.apf")); },
            L"The path variables file C:\\ProgramData\\PathVariables.apf is not valid: its root element must be "
            L"PathVariables. [e0010064]"},
        MessageCase{"NumberedTemplateMissingItsInsert", [] { return Shown(Exception(KW_HERE, 2137u)); },
            L"Format message error [win32 error 0x57] while composing the message [The path variables file %1 is "
            L"not valid: its root element must be PathVariables.]. [e0010064]"}),
    [](const testing::TestParamInfo<MessageCase>& message) { return message.param.name; });

} // namespace
} // namespace kw
