#include "ui/ConsoleProgressSink.h"

#include <algorithm>
#include <utility>

#include "os/Console.h"

namespace kw {

namespace {

// Every step is a thousand units of the range.
constexpr double kUnitsPerStep = 1000;

} // namespace

ConsoleProgressSink::ConsoleProgressSink(bool percentPrefix)
    : ConsoleProgressSink(percentPrefix, TaskbarButton::OfConsoleWindow())
{
}

ConsoleProgressSink::ConsoleProgressSink(bool percentPrefix, TaskbarButton taskbar)
    : button_(std::move(taskbar)), percentPrefix_(percentPrefix)
{
}

std::wstring ConsoleProgressSink::PercentPrefix(double percent)
{
    const long whole = static_cast<long>(percent);
    const wchar_t* fill = whole < 10 ? L"  " : whole < 100 ? L" " : L"";
    return L"[" + std::wstring(fill) + std::to_wstring(whole) + L"%] ";
}

void ConsoleProgressSink::SetTotal(std::uint32_t count, bool add)
{
    if (add) {
        total_ += count;
    } else {
        total_ = count;
        stepsDone_ = 0;
    }
}

void ConsoleProgressSink::BeginStep(std::uint32_t, double subRange, const std::wstring& text)
{
    if (subRange != -1) {
        position_ = 0;
        subRange_ = subRange;
    } else {
        SetTaskbarState(TaskbarState::Indeterminate);
    }
    if (!text.empty())
        PrintLine(text, ConsoleColour::LightBlue);
}

void ConsoleProgressSink::StepDone(std::uint32_t)
{
    stepsDone_ += 1;
    SetProgress(stepsDone_ * kUnitsPerStep);
    // A package's lines go out together, as soon as it is done.
    ConsoleWriter::Get().Flush();
}

void ConsoleProgressSink::ShowMessage(const std::wstring& text)
{
    if (percentPrefix_ && !text.empty())
        PrintLine(text);
    ConsoleWriter::Get().Flush();
}

void ConsoleProgressSink::AdvanceSubStep(double delta)
{
    position_ += delta;
    // A step of no length has no position within it to show.
    if (subRange_ == 0)
        return;
    SetProgress(position_ * kUnitsPerStep / subRange_ + stepsDone_ * kUnitsPerStep);
}

void ConsoleProgressSink::Finished(const std::wstring& text, std::uint32_t code)
{
    if (code == 0) {
        SetTaskbarState(TaskbarState::NoProgress);
    } else if (!text.empty()) {
        PrintLine(text, ConsoleColour::Red);
        SetTaskbarState(TaskbarState::Error);
    }
    ConsoleWriter::Get().Flush();
}

void ConsoleProgressSink::ReportLine(const std::wstring& text) { PrintLine(text, ConsoleColour::Green); }

void ConsoleProgressSink::SetProgress(double value)
{
    // Before a total is set there is nothing to be a fraction of.
    const std::uint64_t range = std::uint64_t{total_} * static_cast<std::uint64_t>(kUnitsPerStep);
    if (range == 0)
        return;
    percent_ = value * 100 / static_cast<double>(range);
    taskbar_.completed = static_cast<std::uint64_t>(std::max(value, 0.0));
    taskbar_.total = range;
    button_.SetValue(taskbar_.completed, taskbar_.total);
}

void ConsoleProgressSink::SetTaskbarState(TaskbarState state)
{
    taskbar_.state = state;
    button_.SetState(state);
}

void ConsoleProgressSink::PrintLine(const std::wstring& text, ConsoleColour colour)
{
    ScopedConsoleColour scoped(colour);
    PrintLine(text);
}

void ConsoleProgressSink::PrintLine(const std::wstring& text) const
{
    ConsoleWriter::Get().WriteLine(percentPrefix_ ? PercentPrefix(percent_) + text : text);
}

} // namespace kw
