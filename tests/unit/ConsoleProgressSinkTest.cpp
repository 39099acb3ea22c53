#include <gtest/gtest.h>

#include <utility>

#include "ConsoleCapture.h"
#include "ui/ConsoleProgressSink.h"

namespace kw {
namespace {

using State = TaskbarState;

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
    ConsoleProgressSink sink(true);
    sink.SetTotal(3, false);
    sink.BeginStep(1, 10, L"Comparing with a.msi");
    sink.StepDone(1);
    sink.ReportLine(L"CR13. Same product code detected: ");
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

    ConsoleProgressSink plain(false);
    plain.ShowMessage(L"not shown without the prefix");
    plain.ReportLine(L"no prefix");
    EXPECT_EQ(console.lines.back(), L"no prefix\r\n");
    EXPECT_EQ(console.lines.size(), 5u);
}

TEST(ConsoleProgress, TaskbarValueIsStepsDoneAndTheStepsShareInThousandsOfTheRange)
{
    ConsoleProgressSink sink(true, TaskbarButton());
    const auto shows = [&](State state, std::uint64_t completed, std::uint64_t total) {
        return sink.Taskbar() == TaskbarProgress{state, completed, total};
    };

    // Before a total there is nothing to be a fraction of; a total starts the count again.
    sink.StepDone(0);
    EXPECT_TRUE(shows(State::NoProgress, 0, 0));
    sink.SetTotal(4, false);
    sink.BeginStep(0, 500, L"");
    EXPECT_TRUE(shows(State::NoProgress, 0, 0));

    sink.AdvanceSubStep(125);
    EXPECT_TRUE(shows(State::NoProgress, 250, 4000));
    EXPECT_EQ(sink.Percent(), 6.25);
    sink.AdvanceSubStep(125);
    EXPECT_TRUE(shows(State::NoProgress, 500, 4000));
    sink.StepDone(0);
    EXPECT_TRUE(shows(State::NoProgress, 1000, 4000));
    EXPECT_EQ(sink.Percent(), 25);

    // A new step starts at its beginning; a step of unknown length changes neither the
    // position nor the sub-range, and shows the indeterminate state instead.
    sink.BeginStep(1, 200, L"");
    sink.AdvanceSubStep(50);
    EXPECT_TRUE(shows(State::NoProgress, 1250, 4000));
    sink.BeginStep(2, -1, L"");
    EXPECT_TRUE(shows(State::Indeterminate, 1250, 4000));
    sink.AdvanceSubStep(50);
    EXPECT_TRUE(shows(State::Indeterminate, 1500, 4000));
    sink.StepDone(1);
    EXPECT_TRUE(shows(State::Indeterminate, 2000, 4000));

    // More steps widen the range and keep the steps done.
    sink.SetTotal(2, true);
    sink.StepDone(2);
    EXPECT_TRUE(shows(State::Indeterminate, 3000, 6000));
    EXPECT_EQ(sink.Percent(), 50);

    sink.Finished(L"", 0);
    EXPECT_TRUE(shows(State::NoProgress, 3000, 6000));

    // The range is counted in 64 bits: five million steps are five thousand million units.
    sink.SetTotal(5'000'000, false);
    sink.StepDone(0);
    EXPECT_TRUE(shows(State::NoProgress, 1000, 5'000'000'000));
}

TEST(ConsoleProgress, FailedRunPrintsItsTextAndShowsTheErrorStateNormalRunClearsIt)
{
    ConsoleCapture console;
    ConsoleProgressSink sink(true, TaskbarButton());
    sink.SetTotal(2, false);
    sink.StepDone(0);

    // A failure without a text prints nothing and leaves the taskbar as it was.
    sink.Finished(L"", 1);
    EXPECT_EQ(sink.Taskbar(), (TaskbarProgress{State::NoProgress, 1000, 2000}));
    sink.Finished(L"The detection failed.", 1);
    EXPECT_EQ(sink.Taskbar(), (TaskbarProgress{State::Error, 1000, 2000}));
    sink.ReportLine(L"Detection finished.");
    sink.Finished(L"", 0);
    EXPECT_EQ(sink.Taskbar(), (TaskbarProgress{State::NoProgress, 1000, 2000}));

    EXPECT_EQ(console.lines,
        (std::vector<std::wstring>{L"[ 50%] The detection failed.\r\n", L"[ 50%] Detection finished.\r\n"}));
}

} // namespace
} // namespace kw
