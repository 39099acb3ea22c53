#pragma once
// The console run's ProgressSink: coloured lines, each with the run's percentage in front, and
// the same progress on the taskbar button of the console window.
#include "os/Console.h"
#include "ui/ProgressSink.h"
#include "ui/TaskbarButton.h"

namespace kw {

class ConsoleProgressSink : public ProgressSink {
public:
    // Progress goes to the console window's taskbar button, when the process has a console
    // window; COM must be initialised on the calling thread for the button to be made.
    explicit ConsoleProgressSink(bool percentPrefix);
    // Progress goes to `taskbar`, which may be no button.
    ConsoleProgressSink(bool percentPrefix, TaskbarButton taskbar);

    void SetTotal(std::uint32_t count, bool add) override;
    void BeginStep(std::uint32_t stepId, double subRange, const std::wstring& text) override;
    void StepDone(std::uint32_t stepId) override;
    void ShowMessage(const std::wstring& text) override;
    void AdvanceSubStep(double delta) override;
    bool IsCancelled() override { return cancelled_; }
    void Finished(const std::wstring& text, std::uint32_t code) override;
    void ReportLine(const std::wstring& text) override;

    void SetCancelled(bool cancelled) { cancelled_ = cancelled; }
    double Percent() const { return percent_; }
    // The state and the value last meant for the taskbar, worked out whether or not there is
    // a button to show them.
    const TaskbarProgress& Taskbar() const { return taskbar_; }
    const TaskbarButton& Button() const { return button_; }

    // "[" + the percentage, cut to a whole number and right-aligned in three places, + "%] ".
    static std::wstring PercentPrefix(double percent);

private:
    void PrintLine(const std::wstring& text, ConsoleColour colour);
    void PrintLine(const std::wstring& text) const;
    void SetTaskbarState(TaskbarState state);
    // The value out of the range, with the percentage that goes with it.
    void SetProgress(double value);

    TaskbarButton button_;
    TaskbarProgress taskbar_;
    std::uint32_t total_ = 0;
    double stepsDone_ = 0;
    double position_ = 0;
    double subRange_ = 0;
    double percent_ = 0;
    bool cancelled_ = false;
    bool percentPrefix_;
};

} // namespace kw
