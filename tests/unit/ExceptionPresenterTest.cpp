#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>

#include "ConsoleCapture.h"
#include "core/ExceptionPresenter.h"

namespace kw {
namespace {

// A report sink as an application installs one: it gives a note and a title, and keeps what
// it is given.
class RecordingSink : public IReportSink {
public:
    struct Report {
        std::wstring text, type, file;
    };

    void Report(const std::wstring& fullText, const std::wstring& typeName, const std::wstring& file) override
    {
        reports.push_back({fullText, typeName, file});
    }
    bool CanSend() override { return false; }
    bool Send(const std::wstring&, void*) override { return false; }
    std::wstring GetText(bool first) override
    {
        ++textRequests;
        return first ? L"Please send this report." : L"Kitewright";
    }
    bool ShouldShowDialog() override { return true; }

    std::vector<struct Report> reports;
    int textRequests = 0;
};

template <typename Thrown> void ThrowAndPresent(const Thrown& thrown, const std::optional<SourceLocation>& from = {})
{
    try {
        throw thrown;
    } catch (...) {
        PresentCurrentException(nullptr, from);
    }
}

// One test, because the presenter asks its sink for its texts once per process. Everything goes
// through the catch funnel, as catch sites use it.
TEST(ExceptionPresenter, ConsolePrintsTheWholeTextWithTheNoteBeforeTheTraceThenReports)
{
    RecordingSink sink;
    ExceptionPresenter& presenter = ExceptionPresenter::Instance();
    presenter.SetReportSink(&sink);
    presenter.SetConsoleMode(true);
    ConsoleCapture console;

    const std::wstring trace = std::wstring(kStackTraceHeader) + L"[0x00401000]  main()\r\n";
    ThrowAndPresent(Exception(KW_HERE, L"It broke." + trace));
    ThrowAndPresent(WindowsException(L"..\\src\\Other.cpp", 7, 5u), SourceLocation{L"..\\src\\Unused.cpp", 1});
    ThrowAndPresent(std::out_of_range("stoi argument out of range"));
    ThrowAndPresent(std::runtime_error("no memory"), SourceLocation{L"..\\src\\Run.cpp", 86});
    ThrowAndPresent(42);

    const std::wstring noted = L"It broke.\r\nPlease send this report." + trace;
    const std::wstring denied = WindowsException(L"", 0, 5u).Message();
    const std::wstring unknown = L"An exception of unknown type was thrown.";
    EXPECT_EQ(console.lines,
        (std::vector<std::wstring>{noted + L"\r\n", denied + L"\r\n", L"stoi argument out of range\r\n",
            L"no memory\r\n", unknown + L"\r\n"}));
    ASSERT_EQ(sink.reports.size(), 5u);
    EXPECT_EQ(sink.reports[0].text, noted);
    EXPECT_EQ(sink.reports[0].type, L"EXCEPTION_GENERIC");
    EXPECT_EQ(sink.reports[0].file, L"..\\tests\\unit\\ExceptionPresenterTest.cpp");
    EXPECT_EQ(sink.reports[1].type, L"EXCEPTION_WIN32");
    EXPECT_EQ(sink.reports[1].file, L"..\\src\\Other.cpp");
    EXPECT_EQ(sink.reports[2].type, L"EXCEPTION_STD");
    EXPECT_EQ(sink.reports[2].file, L"..\\core\\ExceptionPresenter.cpp");
    EXPECT_EQ(sink.reports[3].type, L"EXCEPTION_GENERIC");
    EXPECT_EQ(sink.reports[3].file, L"..\\src\\Run.cpp");
    EXPECT_EQ(sink.reports[4].type, L"EXCEPTION_UNHANDLED");
    EXPECT_EQ(sink.reports[4].file, L"..\\core\\ExceptionPresenter.cpp");
    EXPECT_EQ(sink.textRequests, 2);

    presenter.SetConsoleMode(false);
    presenter.SetReportSink(nullptr);
}

} // namespace
} // namespace kw
