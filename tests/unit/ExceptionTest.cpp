#include <gtest/gtest.h>

#include <regex>

#include "core/Exception.h"
#include "os/ResourceText.h"
#include "os/SystemError.h"
#include "util/strings/StringSystem.h"

namespace kw {
namespace {

// The message, a line break, the trace header, then frame lines, the caller of the clone once
// among them, and the module-base line.
void ExpectMessageWithTrace(const std::wstring& traced, const std::wstring& message)
{
    const std::wstring start = message + L"\r\n" + std::wstring(kStackTraceHeader);
    ASSERT_EQ(traced.substr(0, start.size()), start);
    const std::wregex frameLine(L"\\[0x[0-9a-f]{8,}\\]  [^\r\n]+");
    const std::wregex caller(L".*Exceptions_EveryKindKeepsItsTypeWhenRethrownOrCloned_Test::TestBody\\(\\) -> "
                             L"ExceptionTest\\.cpp:[0-9]+");
    size_t lines = 0;
    size_t callers = 0;
    for (size_t begin = start.size(), end = 0; begin < traced.size(); begin = end + 2, ++lines) {
        end = traced.find(L"\r\n", begin);
        ASSERT_NE(end, std::wstring::npos) << "unterminated: " << ToUtf8(traced.substr(begin));
        const std::wstring line = traced.substr(begin, end - begin);
        EXPECT_TRUE(std::regex_match(line, frameLine)) << "not a frame line: " << ToUtf8(line);
        callers += std::regex_match(line, caller) ? 1 : 0;
    }
    EXPECT_EQ(callers, 1u) << ToUtf8(traced);
    EXPECT_TRUE(traced.ends_with(L"  MODULE_BASE_ADDRESS\r\n"));
}

TEST(Exceptions, EveryKindKeepsItsTypeWhenRethrownOrCloned)
{
    const Exception generic(L"g.cpp", 1, L"generic");
    const WindowsException windows(L"w.cpp", 2, 5u);
    const SehException seh(L"[SEH_AV_WRITE_BADPTR] fault", L"s.cpp", 3, kSehWriteBad);

    EXPECT_EQ(generic.GetTypeName(), L"EXCEPTION_GENERIC");
    EXPECT_EQ(windows.GetTypeName(), L"EXCEPTION_WIN32");
    EXPECT_EQ(seh.GetTypeName(), L"SEH_AV_WRITE_BADPTR");
    EXPECT_EQ(SehException(L"m", L"f", 0, 42).GetTypeName(), L"SEH_GENERIC");
    EXPECT_EQ(ExceptionTypeName(7), L"Exception ???");
    EXPECT_EQ(ExceptionTypeName(-1), L"Exception ???");
    EXPECT_EQ(seh.Code(), 0xE0010064u);

    const std::vector<const IException*> all = {&generic, &windows, &seh};
    for (const IException* original : all) {
        const std::unique_ptr<IException> clone = original->Clone(true);
        EXPECT_EQ(clone->GetType(), original->GetType());
        ExpectMessageWithTrace(clone->Message(), original->Message());
        EXPECT_EQ(clone->Clone(true)->Message(), clone->Message());
        EXPECT_EQ(original->Clone(false)->Message(), original->Message());
        EXPECT_EQ(clone->Code(), original->Code());
        EXPECT_EQ(clone->File(), original->File());
        EXPECT_EQ(clone->Line(), original->Line());
    }
    EXPECT_THROW(static_cast<const IException&>(windows).Rethrow(), WindowsException);
    EXPECT_THROW(static_cast<const IException&>(seh).Rethrow(), SehException);
    try {
        static_cast<const IException&>(generic).Rethrow();
    } catch (const WindowsException&) {
        FAIL() << "a generic exception came back as a Windows one";
    } catch (const Exception& e) {
        EXPECT_EQ(e.Message(), L"generic");
    }
}

TEST(WindowsErrors, MessageQuotesTheSystemTextAfterTheCodeInSignedDecimal)
{
    const WindowsException denied(L"f", 1, 5u);
    EXPECT_EQ(denied.Code(), 5u);
    EXPECT_EQ(denied.Message(), L"Win32 Error [5]: \"" + SystemMessageText(5).value() + L"\"");

    const WindowsException unspecified(L"f", 1, 0x80004005u);
    EXPECT_EQ(unspecified.Code(), 0x80004005u);
    EXPECT_EQ(unspecified.Message(), L"Win32 Error [-2147467259]: \"" + SystemMessageText(0x80004005u).value() + L"\"");

    const WindowsException unknown(L"f", 1, 0x20001234u);
    EXPECT_EQ(unknown.Message(),
        L"Win32 Error [536875572]: \"Failed to get Windows error message [win32 error 0x20001234].\"");

    SetLastSystemError(2);
    const WindowsException last(KW_HERE);
    EXPECT_EQ(last.Code(), 2u);
    EXPECT_EQ(last.Message(), L"Win32 Error [2]: \"" + SystemMessageText(2).value() + L"\"");
}

TEST(ComErrors, DescriptionIsShownElseTheWin32Form)
{
    const WindowsException described(L"f", 1, ComError{static_cast<std::int32_t>(0x80004005u), L"The disk is full"});
    EXPECT_EQ(described.Code(), 0x80004005u);
    EXPECT_EQ(described.Message(), L"Win32 COM Error [-2147467259]: { The disk is full }");

    const WindowsException plain(L"f", 1, ComError{static_cast<std::int32_t>(0x80004005u), L""});
    EXPECT_EQ(plain.Code(), 0x80004005u);
    EXPECT_EQ(plain.Message(), WindowsException(L"f", 1, 0x80004005u).Message());
    EXPECT_EQ(plain.GetType(), kExceptionWin32);
}

TEST(NumberedMessages, TemplateComesFromTheResourceLibraryWithItsInserts)
{
    const Exception e(KW_HERE, 2137u, L"C:\\ProgramData\\PathVariables.apf");
    EXPECT_EQ(e.Message(),
        L"The path variables file C:\\ProgramData\\PathVariables.apf is not valid: its root element must be "
        L"PathVariables.");
    EXPECT_EQ(e.Code(), 0xE0010064u);
    EXPECT_EQ(e.GetType(), kExceptionGeneric);
    // The throw site names its source relative to the source tree, a file outside it in full.
    EXPECT_EQ(e.File(), L"..\\tests\\unit\\ExceptionTest.cpp");
    EXPECT_EQ(SourceModule("/abs/path.cpp"), L"\\abs\\path.cpp");

    // A number is an insert like any other; a text the library does not have is empty.
    EXPECT_EQ(ComposeMessage(2137, {InsertText(42)}),
        L"The path variables file 42 is not valid: its root element must be PathVariables.");
    EXPECT_EQ(Exception(KW_HERE, 9u).Message(), L"");
}

TEST(NumberedMessages, TemplateThatCannotBeExpandedIsShownInTheMessage)
{
    EXPECT_EQ(Exception(KW_HERE, 2137u).Message(),
        L"Format message error [win32 error 0x57] while composing the message [The path variables file %1 is "
        L"not valid: its root element must be PathVariables.].");
}

} // namespace
} // namespace kw
