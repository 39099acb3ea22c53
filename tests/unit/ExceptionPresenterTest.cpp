#include <gtest/gtest.h>

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

// One test, because the presenter asks its sink for its texts once per process.
TEST(ExceptionPresenter, ConsolePrintsTheWholeTextWithTheNoteBeforeTheTraceThenReports)
{
    RecordingSink sink;
    ExceptionPresenter& presenter = ExceptionPresenter::Instance();
    presenter.SetReportSink(&sink);
    presenter.SetConsoleMode(true);
    ConsoleCapture console;

    const std::wstring trace = std::wstring(kStackTraceHeader) + L"[0x00401000]  main()\r\n";
    const Exception withTrace(KW_HERE, L"It broke." + trace);
    presenter.Present(nullptr, withTrace);

    const Exception plain(L"..\\src\\Other.cpp", 7, L"No trace here.");
    presenter.Present(nullptr, plain);

    presenter.Present(nullptr, std::out_of_range("stoi argument out of range"));

    const std::wstring noted = L"It broke.\r\nPlease send this report." + trace;
    EXPECT_EQ(console.lines,
        (std::vector<std::wstring>{noted + L"\r\n", L"No trace here.\r\n", L"stoi argument out of range\r\n"}));
    ASSERT_EQ(sink.reports.size(), 3u);
    EXPECT_EQ(sink.reports[0].text, noted);
    EXPECT_EQ(sink.reports[0].type, L"EXCEPTION_GENERIC");
    EXPECT_EQ(sink.reports[0].file, L"..\\tests\\unit\\ExceptionPresenterTest.cpp");
    EXPECT_EQ(sink.reports[1].file, L"..\\src\\Other.cpp");
    EXPECT_EQ(sink.reports[2].type, L"EXCEPTION_STD");
    EXPECT_EQ(sink.reports[2].file, L"..\\core\\ExceptionPresenter.cpp");
    EXPECT_EQ(sink.textRequests, 2);

    presenter.SetConsoleMode(false);
    presenter.SetReportSink(nullptr);
}

} // namespace
} // namespace kw
