#pragma once
// Everything a detection run tells the user passes through a ProgressSink: progress steps,
// messages, per-package headers, finding lines and the final result. The console run prints
// them; the wizard's progress page shows them in its controls.
#include <cstdint>
#include <string>

namespace kw {

class ProgressSink {
public:
    virtual ~ProgressSink() = default;
    // add false: the run has `count` steps; add true: `count` more.
    virtual void SetTotal(std::uint32_t count, bool add) = 0;
    // A step begins; a sub-range of -1 means its length is unknown. A text is shown if given.
    virtual void BeginStep(std::uint32_t stepId, double subRange, const std::wstring& text) = 0;
    virtual void StepDone(std::uint32_t stepId) = 0;
    virtual void ShowMessage(const std::wstring& text) = 0;
    virtual void AdvanceSubStep(double delta) = 0;
    virtual bool IsCancelled() = 0;
    // The run ended with `code`; a failure says why in `text`.
    virtual void Finished(const std::wstring& text, std::uint32_t code) = 0;
    virtual void ReportLine(const std::wstring& text) = 0;
};

} // namespace kw
