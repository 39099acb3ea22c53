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
    void Report(const std::wstring& fullText, const std::wstring& typeName, const std::wstring& file) override
    {
        reports.push_back(fullText + L"|" + typeName + L"|" + file);
    }
    bool CanSend() override { return false; }
    bool Send(const std::wstring&, void*) override { return false; }
    std::wstring GetText(bool first) override { return first ? L"Please send this report." : L"Kitewright"; }
    bool ShouldShowDialog() override { return true; }

    std::vector<std::wstring> reports;
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
    ThrowAndPresent(std::out_of_range("stoi argument out of range"));
    ThrowAndPresent(std::runtime_error("no memory"), SourceLocation{L"..\\src\\Run.cpp", 86});
    ThrowAndPresent(42);

    const std::wstring noted = L"It broke.\r\nPlease send this report." + trace;
    const std::wstring unknown = L"An exception of unknown type was thrown.";
    EXPECT_EQ(console.lines,
        (std::vector<std::wstring>{
            noted + L"\r\n", L"stoi argument out of range\r\n", L"no memory\r\n", unknown + L"\r\n"}));
    EXPECT_EQ(sink.reports,
        (std::vector<std::wstring>{noted + L"|EXCEPTION_GENERIC|..\\tests\\unit\\ExceptionPresenterTest.cpp",
            L"stoi argument out of range|EXCEPTION_STD|..\\core\\ExceptionPresenter.cpp",
            L"no memory|EXCEPTION_GENERIC|..\\src\\Run.cpp",
            unknown + L"|EXCEPTION_UNHANDLED|..\\core\\ExceptionPresenter.cpp"}));

    presenter.SetConsoleMode(false);
    presenter.SetReportSink(nullptr);
}

} // namespace
} // namespace kw
