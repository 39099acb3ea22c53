#include <gtest/gtest.h>

#include "ConsoleCapture.h"
#include "ui/ConsoleProgressSink.h"

namespace kw {
namespace {

TEST(ConsoleProgress, PercentIsCutToAWholeNumberInThreePlaces)
{
    EXPECT_EQ(ConsoleProgressSink::PercentPrefix(0), L"[  0%] ");
    EXPECT_EQ(ConsoleProgressSink::PercentPrefix(5), L"[  5%] ");
    EXPECT_EQ(ConsoleProgressSink::PercentPrefix(9.99), L"[  9%] ");
    EXPECT_EQ(ConsoleProgressSink::PercentPrefix(42.5), L"[ 42%] ");
    EXPECT_EQ(ConsoleProgressSink::PercentPrefix(100), L"[100%] ");
}

TEST(ConsoleProgress, LinesCarryThePercentOfStepsDoneAndOnlyFailuresPrintWhenFinished)
{
    ConsoleCapture console;
    ConsoleProgressSink sink(true, nullptr);
    sink.SetTotal(3, false);
    sink.BeginStep(1, 10, L"Comparing with a.msi");
    sink.StepDone(1);
    sink.ReportLine(L"CR13. Same product code detected: ", 0);
    sink.BeginStep(2, 10, L"");
    sink.AdvanceSubStep(5);
    sink.ShowMessage(L"halfway");
    sink.Finished(L"", 0);
    sink.Finished(L"The detection failed.", 1);

    EXPECT_EQ(console.lines,
        (std::vector<std::wstring>{
            L"[  0%] Comparing with a.msi\r\n",
            L"[ 33%] CR13. Same product code detected: \r\n",
            L"[ 50%] halfway\r\n",
            L"[ 50%] The detection failed.\r\n",
        }));

    ConsoleProgressSink plain(false, nullptr);
    plain.ShowMessage(L"not shown without the prefix");
    plain.ReportLine(L"no prefix", 0);
    EXPECT_EQ(console.lines.back(), L"no prefix\r\n");
    EXPECT_EQ(console.lines.size(), 5u);
}

} // namespace
} // namespace kw
