// How a detection run ends:
//   - EXIT POINT no task: the repository holds no package; RunStarted with none, then
//     RunFinished; result 0.
//   - EXIT POINT fewer than two workers: no pair is examined (a one-processor machine checks
//     nothing, as it always has); the total is 0, result 0.
//   - EXIT POINT normal: every task was handed out once and run; workers are joined before
//     RunFinished; result 0, or 1 when a task failed.
//   - EXIT POINT exception: anything thrown while the run is set up ends it; RunFinished
//     carries the error, result 1.
// A task's failure is told on its worker, which goes on with the next task.
#include "engine/ConflictsDetectorManager.h"

#include <algorithm>
#include <thread>

#include "core/ExceptionHandling.h"
#include "os/Threads.h"
#include "rules/PackagePair.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

constexpr const wchar_t* kTaskMutexName = L"GetTaskMutex";

// The rules of the catalogue that the request does not exclude, in catalogue order.
RuleCatalogue FilteredCatalogue(const std::set<std::wstring>& excluded)
{
    RuleCatalogue catalogue;
    for (ConflictRule& rule : BuildCatalogue()) {
        const bool skip = std::any_of(
            excluded.begin(), excluded.end(), [&](const std::wstring& id) { return EqualsIgnoreCase(id, rule.id); });
        if (!skip)
            catalogue.push_back(std::move(rule));
    }
    return catalogue;
}

} // namespace

std::uint32_t ConflictsDetectorManager::Run(const DetectionRequest& request)
{
    return Finish([&](DetectionSummary& summary) { RunDetection(request, summary); });
}

std::uint32_t ConflictsDetectorManager::Run(const OptionMap& options)
{
    return Finish([&](DetectionSummary& summary) { RunDetection(MakeDetectionRequest(options), summary); });
}

std::uint32_t ConflictsDetectorManager::Finish(const std::function<void(DetectionSummary&)>& detection)
{
    DetectionSummary summary;
    try {
        detection(summary);
    } catch (...) {
        summary.error = std::current_exception();
    }
    summary.findings = findingsTotal_;
    summary.result = summary.error || taskFailed_ ? 1 : 0;
    listener_.RunFinished(summary);
    return summary.result;
}

void ConflictsDetectorManager::RunDetection(const DetectionRequest& request, DetectionSummary& summary)
{
    std::vector<std::wstring> files;
    ListFiles(request.repository.folder, L"*.msi", files, request.repository.depth);
    for (const std::wstring& file : files)
        tasks_.push_back({file, std::wstring(), static_cast<std::uint32_t>(tasks_.size())});
    summary.packages = static_cast<std::uint32_t>(tasks_.size());
    listener_.RunStarted(request.repository.folder, summary.packages);
    if (tasks_.empty() || request.workers < 2)
        return;
    // Loaded once, before the workers start, and only read while they run.
    catalogue_ = FilteredCatalogue(request.excludedRules);
    underTest_ = std::make_unique<RulePackage>(request.packageUnderTest);
    underTest_->LoadAll();
    modules_ = std::make_unique<MergeModules>(request.mergeModuleFolders);
    RunWorkers(request.workers);
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
        // A failure is told under the report lock, so that it never lands inside another
        // package's block.
        try {
            RunTask(*task);
        } catch (...) {
            taskFailed_ = true;
            const std::lock_guard lock(reportLock_);
            listener_.PackageFailed(*task, std::current_exception());
        }
        // An empty pass through the named mutex after every task, as the hand-out always had.
        if (const std::unique_ptr<NamedMutex> mutex = NamedMutex::Open(kTaskMutexName, 0)) {
            mutex->Wait();
            mutex->Release();
        }
    }
}

void ConflictsDetectorManager::RunTask(DetectionTask& task)
{
    {
        const std::lock_guard lock(reportLock_);
        listener_.PackageStarted(task);
    }
    RulePackage repositoryPackage(task.repositoryPackage);
    task.productName = repositoryPackage.Name();
    PackagePair pair(*underTest_, repositoryPackage, modules_.get());
    const FindingList findings = RunCatalogue(catalogue_, pair);

    const std::lock_guard lock(reportLock_);
    findingsTotal_ += static_cast<std::uint32_t>(findings.size());
    listener_.PackageDone(task, findings);
}

} // namespace kw
