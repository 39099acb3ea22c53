#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <set>

#include "AppPathsSandbox.h"
#include "Fixtures.h"
#include "ScopedEnvironment.h"
#include "engine/ConflictsDetectorManager.h"
#include "os/FileSystem.h"
#include "ui/DetectionText.h"
#include "util/strings/StringSystem.h"

namespace kw {
namespace {

// Keeps what a run tells, as the wizard's pages and report files get it.
class RecordingListener : public DetectionListener {
public:
    void RunStarted(const std::wstring& folder, std::uint32_t packages) override
    {
        Record(L"run " + folder + L" " + std::to_wstring(packages));
    }
    void PackageStarted(const DetectionTask& task) override { Record(L"begin " + std::to_wstring(task.index)); }
    void PackageDone(const DetectionTask& task, const FindingList& findings) override
    {
        Record(L"done " + std::to_wstring(task.index));
        const std::lock_guard lock(mutex_);
        std::vector<std::wstring>& details = findings_[task.repositoryPackage];
        EXPECT_TRUE(details.empty()) << "reported twice: " << ToUtf8(task.repositoryPackage);
        details.push_back(task.productName);
        for (const FindingHandle& finding : findings)
            details.push_back(finding->ruleId + L" " + FindingDetail(*finding));
    }
    void PackageFailed(const DetectionTask& task, const std::exception_ptr&) override
    {
        Record(L"failed " + std::to_wstring(task.index));
    }
    void RunFinished(const DetectionSummary& summary) override
    {
        Record(L"finished " + std::to_wstring(summary.findings) + L" " + std::to_wstring(summary.result) +
            (summary.error ? L" error" : L""));
    }

    std::vector<std::wstring> events;
    // By package path: its product name, then each finding's rule id and detail.
    std::map<std::wstring, std::vector<std::wstring>> findings_;

private:
    void Record(std::wstring event)
    {
        const std::lock_guard lock(mutex_);
        events.push_back(std::move(event));
    }
    std::mutex mutex_;
};

TEST(DetectionManager, TheWorkerCountIsTheLow16BitsOfTheProcessorCountAsANumber)
{
    const std::pair<const char*, int> cases[] = {{"2", 2}, {"8 cores", 8}, {"abc", 0}, {"65537", 1}, {"65535", -1}};
    for (const auto& [processors, workers] : cases) {
        const ScopedEnvironment variable("NUMBER_OF_PROCESSORS", processors);
        EXPECT_EQ(WorkerCount(), workers) << processors;
    }
}

// The repository that the build generates beside the test programs (bench/generate-repository):
// fifty packages, each taking half of the shared resources of the package under test in a
// way of its own.
TEST(DetectionManager, FiftyOverlappingPackagesOnEightWorkersReportWhatEachPairFindsAlone)
{
    const AppPathsSandbox sandbox; // no merge modules, whatever the machine has
    sandbox.Rebuild();
    const std::wstring folder = ExecutableFolder() + L"generated" + kPathSeparator + L"repository-50" + kPathSeparator;
    DetectionRequest request = {
        .packageUnderTest = folder + L"under-test.msi", .repository = {folder + L"repository", 10}, .workers = 8};

    // Each pair alone, on this thread, with the whole catalogue.
    RulePackage underTest(request.packageUnderTest);
    MergeModules modules;
    std::vector<std::wstring> files;
    ListFiles(request.repository.folder, L"*.msi", files, 10);
    std::map<std::wstring, std::vector<std::wstring>> expected;
    std::set<std::wstring> rulesFired;
    size_t total = 0;
    for (const std::wstring& file : files) {
        RulePackage package(file);
        PackagePair pair(underTest, package, &modules);
        std::vector<std::wstring>& details = expected[file];
        details.push_back(package.Name());
        for (const FindingHandle& finding : RunCatalogue(BuildCatalogue(), pair)) {
            details.push_back(finding->ruleId + L" " + FindingDetail(*finding));
            rulesFired.insert(finding->ruleId);
            ++total;
        }
    }
    ASSERT_EQ(expected.size(), 50u);
    // Every rule but the merge-module one, which needs registered modules, finds something.
    EXPECT_EQ(rulesFired.size(), 18u);
    EXPECT_FALSE(rulesFired.contains(L"CR19"));

    RecordingListener listener;
    EXPECT_EQ(ConflictsDetectorManager(listener).Run(request), 0u);
    EXPECT_EQ(listener.findings_, expected);
    // The run's events first and last; every package begun and done once, in between.
    ASSERT_EQ(listener.events.size(), 102u);
    EXPECT_EQ(listener.events.front(), L"run " + request.repository.folder + L" 50");
    EXPECT_EQ(listener.events.back(), L"finished " + std::to_wstring(total) + L" 0");
    std::multiset<std::wstring> steps(listener.events.begin() + 1, listener.events.end() - 1);
    std::multiset<std::wstring> expectedSteps;
    for (int step = 0; step < 50; ++step) {
        expectedSteps.insert(L"begin " + std::to_wstring(step));
        expectedSteps.insert(L"done " + std::to_wstring(step));
    }
    EXPECT_EQ(steps, expectedSteps);
}

} // namespace
} // namespace kw
