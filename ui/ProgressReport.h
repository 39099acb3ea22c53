#pragma once
// A detection run told through a ProgressSink: its steps, and its lines as the console prints
// them (a header per package, then its findings, and the total).
#include <optional>

#include "core/Exception.h"
#include "engine/DetectionListener.h"
#include "ui/ProgressSink.h"

namespace kw {

class ProgressReport : public DetectionListener {
public:
    explicit ProgressReport(ProgressSink& sink) : sink_(sink) { }

    void RunStarted(const std::wstring& folder, std::uint32_t packages) override;
    void PackageStarted(const DetectionTask& task) override;
    void PackageDone(const DetectionTask& task, const FindingList& findings) override;
    void PackageFailed(const DetectionTask& task, const std::exception_ptr& error) override;
    void RunFinished(const DetectionSummary& summary) override;

private:
    ProgressSink& sink_;
};

// Presents an error of the run as the program presents every exception; a standard exception
// from `standardFrom` when given.
void PresentError(const std::exception_ptr& error, const std::optional<SourceLocation>& standardFrom = {});

} // namespace kw
