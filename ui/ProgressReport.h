#pragma once
// A detection run told through a ProgressSink: its steps, and its lines as the console prints
// them (a header per package, then its findings, and the total).
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

} // namespace kw
