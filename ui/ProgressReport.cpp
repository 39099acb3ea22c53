#include "ui/ProgressReport.h"

#include "core/ExceptionPresenter.h"
#include "core/ReportLocations.h"
#include "os/ResourceText.h"
#include "res/TextIds.h"
#include "ui/DetectionText.h"

namespace kw {

namespace {

// The share of the run's progress that one package's step is divided into.
constexpr double kTaskSubRange = 500;

} // namespace

void ProgressReport::RunStarted(const std::wstring& folder, std::uint32_t packages)
{
    if (packages == 0) {
        sink_.ReportLine(FormatText(LoadText(IDS_EMPTY_REPOSITORY), {folder}));
        return;
    }
    sink_.SetTotal(packages, false);
    sink_.ReportLine(LoadText(IDS_DETECTION_STARTED));
}

void ProgressReport::PackageStarted(const DetectionTask& task) { sink_.BeginStep(task.index, kTaskSubRange, {}); }

void ProgressReport::PackageDone(const DetectionTask& task, const FindingList& findings)
{
    const std::wstring count = findings.empty()
        ? LoadText(IDS_NO_CONFLICTS)
        : FormatNumber(IDS_CONFLICT_COUNT, static_cast<std::uint32_t>(findings.size()));
    sink_.ReportLine(FormatText(LoadText(IDS_PACKAGE_HEADER), {task.productName, count}));
    for (const FindingHandle& finding : findings)
        sink_.ReportLine(FindingLine(*finding));
    sink_.StepDone(task.index);
}

void ProgressReport::PackageFailed(const DetectionTask&, const std::exception_ptr& error) { PresentException(error); }

void ProgressReport::RunFinished(const DetectionSummary& summary)
{
    // A standard exception that ended the run is placed where reports have always placed it.
    if (summary.error)
        PresentException(summary.error, nullptr, kDetectionFailureLocation);
    else if (summary.packages != 0)
        sink_.ReportLine(FormatNumber(IDS_DETECTION_TOTAL, summary.findings));
}

} // namespace kw
