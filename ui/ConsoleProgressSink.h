#pragma once
// The console run's ProgressSink: coloured lines, each with the run's percentage in front.
#include "os/Console.h"
#include "ui/ProgressSink.h"

namespace kw {

class OptionMap;

class ConsoleProgressSink : public ProgressSink {
public:
    ConsoleProgressSink(bool percentPrefix, const OptionMap* options);

    void SetTotal(std::uint32_t count, bool add) override;
    void BeginStep(std::uint32_t stepId, double subRange, const std::wstring& text) override;
    void StepDone(std::uint32_t stepId) override;
    void ShowMessage(const std::wstring& text) override;
    void AdvanceSubStep(double delta) override;
    bool IsCancelled() override { return cancelled_; }
    void Finished(const std::wstring& text, std::uint32_t code) override;
    void ReportLine(const std::wstring& text, int kind) override;

    void SetCancelled(bool cancelled) { cancelled_ = cancelled; }
    double Percent() const { return percent_; }

    // "[" + the percentage, cut to a whole number and right-aligned in three places, + "%] ".
    static std::wstring PercentPrefix(double percent);

private:
    void PrintLine(const std::wstring& text, ConsoleColour colour);
    void PrintLine(const std::wstring& text);

    const OptionMap* options_;
    std::uint32_t total_ = 0;
    double stepsDone_ = 0;
    double position_ = 0;
    double subRange_ = 0;
    double percent_ = 0;
    bool cancelled_ = false;
    bool percentPrefix_;
};

} // namespace kw
