// How a detection run ends:
//   - EXIT POINT no task: the repository holds no package; one line (5874), result 0.
//   - EXIT POINT fewer than two workers: no pair is examined (a one-processor machine checks
//     nothing, as it always has); the total is reported as 0, result 0.
//   - EXIT POINT normal: every task was handed out once and run; workers are joined before
//     the total (5848) is reported; result 0, or 1 when a task failed.
//   - EXIT POINT exception: anything thrown while the run is set up is presented; result 1.
// A task's failure is presented on its worker, which goes on with the next task.
#include "src/ConflictsDetectorManager.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <exception>
#include <thread>

#include "core/Exception.h"
#include "core/ExceptionHandling.h"
#include "core/ExceptionPresenter.h"
#include "msicomp/apppaths/AppPaths.h"
#include "os/ResourceText.h"
#include "os/Threads.h"
#include "repository/PackageRepository.h"
#include "rules/MergeModules.h"
#include "rules/PackagePair.h"
#include "src/CommandLine.h"
#include "ui/ProgressSink.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

constexpr unsigned kDetectingText = 5779;
constexpr unsigned kPackageHeaderText = 5780;
constexpr unsigned kNoConflictsText = 5781;
constexpr unsigned kConflictsCountText = 5782;
constexpr unsigned kTotalText = 5848;
constexpr unsigned kEmptyRepositoryText = 5874;

constexpr const wchar_t* kTaskMutexName = L"GetTaskMutex";
constexpr int kRepositoryDepth = 10;
constexpr double kTaskSubRange = 500;

// A numbered text with one number in it (%u).
std::wstring FormatNumber(unsigned textId, std::uint32_t value)
{
    const std::wstring format = LoadText(textId);
    std::wstring text(format.size() + 16, L'\0');
    const int length = std::swprintf(text.data(), text.size(), format.c_str(), static_cast<unsigned>(value));
    text.resize(length > 0 ? static_cast<size_t>(length) : 0);
    return text;
}

std::wstring FindingLine(const ConflictFinding& finding)
{
    return FormatText(L"%ls. %ls detected: \n%ls", {finding.ruleId, finding.title, finding.detail});
}

} // namespace

int WorkerCount()
{
    const char* value = std::getenv("NUMBER_OF_PROCESSORS");
    // Read as _wtoi reads it: leading digits, else 0; only the low 16 bits count.
    const long count = value != nullptr ? std::strtol(value, nullptr, 10) : WorkersWhenUnset();
    return static_cast<std::int16_t>(count & 0xFFFF);
}

ConflictsDetectorManager::ConflictsDetectorManager(const OptionMap& options, ProgressSink* sink)
    : options_(options), sink_(sink)
{
}

ConflictsDetectorManager::~ConflictsDetectorManager() = default;

std::uint32_t ConflictsDetectorManager::Run()
{
    try {
        return RunDetection();
    } catch (const IException& e) {
        e.GetPresenter().Present(nullptr, e);
    } catch (const std::exception& e) {
        // Reports have always placed such a failure here, at this module's line 86.
        const Exception wrapped(L"..\\src\\ConflictsDetectorManager.cpp", 86, FromUtf8(e.what()));
        wrapped.GetPresenter().Present(nullptr, wrapped);
    }
    return 1;
}

std::uint32_t ConflictsDetectorManager::RunDetection()
{
    const std::wstring packageUnderTest = options_.Get(L"Msi");
    const std::wstring defaultFolder = PathVariable(L"KW_REPOSITORY");
    const std::wstring repository = options_.Get(L"MsiRepo");
    // A folder named with MsiRepo is searched in depth; the default repository holds its
    // packages directly in its folder, also when MsiRepo names it.
    const bool ownFolder = !repository.empty() && !EqualsIgnoreCase(repository, defaultFolder);
    const std::wstring& folder = ownFolder ? repository : defaultFolder;
    std::vector<std::wstring> files;
    ListFiles(folder, L"*.msi", files, ownFolder ? kRepositoryDepth : 0);
    for (const std::wstring& file : files)
        tasks_.push_back({packageUnderTest, file, std::wstring(), static_cast<std::uint32_t>(tasks_.size())});
    if (tasks_.empty()) {
        Report(FormatText(LoadText(kEmptyRepositoryText), {folder}));
        return 0;
    }
    if (sink_ != nullptr)
        sink_->SetTotal(static_cast<std::uint32_t>(tasks_.size()), false);
    Report(LoadText(kDetectingText));

    const int workers = WorkerCount();
    if (workers >= 2) {
        // Loaded once, before the workers start, and only read while they run.
        underTest_ = std::make_unique<RulePackage>(packageUnderTest);
        underTest_->LoadAll();
        modules_ = std::make_unique<MergeModules>(
            std::vector<std::wstring>{PathVariable(L"KW_REGISTERED_MSM"), PathVariable(L"KW_VISUAL_STUDIO_MSM")});
        RunWorkers(workers);
    }
    Report(FormatNumber(kTotalText, findingsTotal_));
    return taskFailed_ ? 1 : 0;
}

void ConflictsDetectorManager::RunWorkers(int count)
{
    // Held while the workers run, so that the name stays valid for every hand-out.
    const std::unique_ptr<NamedMutex> taskMutex = NamedMutex::Create(kTaskMutexName);
    std::vector<std::thread> threads;
    for (int k = count; k >= 1; --k) {
        try {
            threads.push_back(StartProgramThread([this] { WorkerLoop(); }));
        } catch (const std::system_error&) {
            WorkerLoop(); // no thread to be had: this one does the work
        }
    }
    for (std::thread& thread : threads)
        thread.join();
}

DetectionTask* ConflictsDetectorManager::TakeTask()
{
    // Opened with access 0, as the hand-out always has been: on Windows such a handle cannot
    // be waited on, so the wait fails at once and does not serialise anything. The cursor is
    // therefore advanced atomically: a task is handed out once however the wait ended.
    const std::unique_ptr<NamedMutex> mutex = NamedMutex::Open(kTaskMutexName, 0);
    if (mutex)
        mutex->Wait();
    const size_t index = cursor_.fetch_add(1);
    if (mutex)
        mutex->Release();
    return index < tasks_.size() ? &tasks_[index] : nullptr;
}

void ConflictsDetectorManager::WorkerLoop()
{
    while (DetectionTask* task = TakeTask()) {
        // A failure is what its task reports: it is presented under the report lock, so that
        // it never lands inside another package's block.
        try {
            RunTask(*task);
        } catch (const IException& e) {
            taskFailed_ = true;
            const std::lock_guard lock(reportLock_);
            e.GetPresenter().Present(nullptr, e);
        } catch (const std::exception& e) {
            taskFailed_ = true;
            const std::lock_guard lock(reportLock_);
            ExceptionPresenter::Instance().Present(nullptr, e);
        }
        // An empty pass through the named mutex after every task, as the hand-out always had.
        if (const std::unique_ptr<NamedMutex> mutex = NamedMutex::Open(kTaskMutexName, 0)) {
            mutex->Wait();
            mutex->Release();
        }
    }
}

const RuleCatalogue& ConflictsDetectorManager::FilteredCatalogue()
{
    std::call_once(catalogueBuilt_, [this] {
        const std::set<std::wstring> excluded = SplitRuleIds(options_.Get(L"ExcludedRules"));
        for (ConflictRule& rule : BuildCatalogue()) {
            const bool skip = std::any_of(excluded.begin(), excluded.end(),
                [&](const std::wstring& id) { return EqualsIgnoreCase(id, rule.id); });
            if (!skip)
                catalogue_.push_back(std::move(rule));
        }
    });
    return catalogue_;
}

void ConflictsDetectorManager::RunTask(DetectionTask& task)
{
    if (sink_ != nullptr) {
        // The sink keeps one step's sub-range for the whole run: every call into it is made
        // under the report lock.
        const std::lock_guard lock(reportLock_);
        sink_->BeginStep(task.index, kTaskSubRange, std::wstring());
    }
    RulePackage repositoryPackage(task.repositoryPackage);
    task.productName = repositoryPackage.Name();
    PackagePair pair(*underTest_, repositoryPackage, modules_.get());
    const FindingList findings = RunCatalogue(FilteredCatalogue(), pair);

    const std::lock_guard lock(reportLock_);
    const std::wstring count = findings.empty()
        ? LoadText(kNoConflictsText)
        : FormatNumber(kConflictsCountText, static_cast<std::uint32_t>(findings.size()));
    Report(FormatText(LoadText(kPackageHeaderText), {task.productName, count}));
    for (const FindingHandle& finding : findings)
        Report(FindingLine(*finding));
    findingsTotal_ += static_cast<std::uint32_t>(findings.size());
    if (sink_ != nullptr)
        sink_->StepDone(task.index);
}

void ConflictsDetectorManager::Report(const std::wstring& line)
{
    if (sink_ != nullptr)
        sink_->ReportLine(line, 0);
}

} // namespace kw
