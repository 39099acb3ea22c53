#include "ui/ConsoleProgressSink.h"

#include "os/Console.h"

namespace kw {

ConsoleProgressSink::ConsoleProgressSink(bool percentPrefix, const OptionMap* options)
    : options_(options), percentPrefix_(percentPrefix)
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
    }
    if (!text.empty())
        PrintLine(text, ConsoleColour::LightBlue);
}

void ConsoleProgressSink::StepDone(std::uint32_t)
{
    stepsDone_ += 1;
    if (total_ != 0)
        percent_ = stepsDone_ * 1000 * 100 / (static_cast<double>(total_) * 1000);
}

void ConsoleProgressSink::ShowMessage(const std::wstring& text)
{
    if (percentPrefix_ && !text.empty())
        PrintLine(text);
}

void ConsoleProgressSink::AdvanceSubStep(double delta)
{
    position_ += delta;
    if (subRange_ == 0 || total_ == 0)
        return;
    const double value = position_ * 1000 / subRange_ + stepsDone_ * 1000;
    percent_ = value * 100 / (static_cast<double>(total_) * 1000);
}

void ConsoleProgressSink::Finished(const std::wstring& text, std::uint32_t code)
{
    if (code != 0 && !text.empty())
        PrintLine(text, ConsoleColour::Red);
}

void ConsoleProgressSink::ReportLine(const std::wstring& text, int) { PrintLine(text, ConsoleColour::Green); }

void ConsoleProgressSink::PrintLine(const std::wstring& text, ConsoleColour colour)
{
    ScopedConsoleColour scoped(colour);
    PrintLine(text);
}

void ConsoleProgressSink::PrintLine(const std::wstring& text)
{
    ConsoleWriter::Get().WriteLine(percentPrefix_ ? PercentPrefix(percent_) + text : text);
}

} // namespace kw
