#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <mutex>
#include <set>

#include "AppPathsSandbox.h"
#include "Fixtures.h"
#include "ScopedEnvironment.h"
#include "TemporaryFolder.h"
#include "msicomp/apppaths/AppPaths.h"
#include "os/FileSystem.h"
#include "repository/PackageRepository.h"
#include "rules/RuleCatalogue.h"
#include "src/CommandLine.h"
#include "src/ConflictsDetectorManager.h"
#include "ui/ProgressSink.h"
#include "util/strings/StringSystem.h"

namespace kw {
namespace {

// A progress sink as the wizard's page is one: it keeps every call it gets, in order.
class RecordingSink : public ProgressSink {
public:
    void SetTotal(std::uint32_t count, bool add) override
    {
        Record(L"total " + std::to_wstring(count) + (add ? L" more" : L""));
    }
    void BeginStep(std::uint32_t step, double, const std::wstring&) override
    {
        Record(L"begin " + std::to_wstring(step));
    }
    void StepDone(std::uint32_t step) override { Record(L"done " + std::to_wstring(step)); }
    void ShowMessage(const std::wstring& text) override { Record(L"message " + text); }
    void AdvanceSubStep(double) override { }
    bool IsCancelled() override { return false; }
    void Finished(const std::wstring& text, std::uint32_t code) override
    {
        Record(L"finished " + std::to_wstring(code) + text);
    }
    void ReportLine(const std::wstring& text, int) override { Record(text); }

    std::vector<std::wstring> Lines() const
    {
        std::vector<std::wstring> lines;
        for (const std::wstring& event : events)
            if (!event.starts_with(L"begin ") && !event.starts_with(L"done ") && !event.starts_with(L"total "))
                lines.push_back(event);
        return lines;
    }

    std::vector<std::wstring> events;

private:
    void Record(std::wstring event)
    {
        const std::lock_guard lock(mutex_);
        events.push_back(std::move(event));
    }
    std::mutex mutex_;
};

class Repository {
public:
    explicit Repository(std::initializer_list<const wchar_t*> packages)
    {
        for (const wchar_t* package : packages)
            std::filesystem::copy_file(FixturePath(package), folder_ / package);
    }
    const std::wstring& Path() const { return folder_.Path(); }

private:
    TemporaryFolder folder_;
};

struct Run {
    std::uint32_t result;
    RecordingSink sink;
};

std::unique_ptr<Run> RunDetection(
    const Repository& repository, const char* processors, const std::wstring& excluded = L"")
{
    ScopedEnvironment workers("NUMBER_OF_PROCESSORS", processors);
    OptionMap options;
    options.Set(L"Msi", FixturePath(L"rules-files-a.msi"));
    options.Set(L"MsiRepo", repository.Path());
    if (!excluded.empty())
        options.Set(L"ExcludedRules", excluded);
    auto run = std::make_unique<Run>();
    ConflictsDetectorManager manager(options, &run->sink);
    run->result = manager.Run();
    return run;
}

// The rule ids of the finding lines of a run.
std::set<std::wstring> RuleIds(const RecordingSink& sink)
{
    std::set<std::wstring> ids;
    for (const std::wstring& line : sink.Lines())
        if (line.starts_with(L"CR"))
            ids.insert(line.substr(0, line.find(L'.')));
    return ids;
}

TEST(DetectionManager, EmptyRepositoryIsOneLineAndNoStep)
{
    const Repository empty({});
    const auto run = RunDetection(empty, "2");
    EXPECT_EQ(run->result, 0u);
    EXPECT_EQ(run->sink.events,
        std::vector<std::wstring>{L"No package was found in the repository folder \"" + empty.Path() + L"\"."});
}

TEST(DetectionManager, FewerThanTwoWorkersExamineNothing)
{
    const Repository repository({L"rules-files-b.msi", L"rules-resources-b.msi"});
    for (const char* processors : {"1", "0", "abc", "65537"}) {
        const auto run = RunDetection(repository, processors);
        EXPECT_EQ(run->result, 0u);
        EXPECT_EQ(run->sink.events,
            (std::vector<std::wstring>{L"total 2", L"Detecting conflicts with the repository packages...",
                L"Detection finished: 0 conflict(s) found in total."}))
            << processors;
    }
}

TEST(DetectionManager, EveryPackageIsReportedWholeUnderItsHeaderWhateverOrderWorkersFinish)
{
    const std::vector<const wchar_t*> names = {
        L"rules-files-b.msi", L"rules-resources-b.msi", L"directories.msi", L"no-tables.msi"};
    const Repository repository({names[0], names[1], names[2], names[3]});
    const auto run = RunDetection(repository, "3");
    EXPECT_EQ(run->result, 0u);
    const std::vector<std::wstring> lines = run->sink.Lines();
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines.front(), L"Detecting conflicts with the repository packages...");

    // Each header announces how many finding lines follow it, and exactly that many do.
    std::uint32_t total = 0;
    std::multiset<std::wstring> packages;
    for (size_t i = 1; i + 1 < lines.size();) {
        const std::wstring& header = lines[i];
        ASSERT_TRUE(header.starts_with(L"Package \"")) << header;
        packages.insert(header.substr(0, header.find(L"\": ") + 1));
        std::uint32_t count = 0;
        if (!header.ends_with(L": no conflicts found."))
            count = static_cast<std::uint32_t>(std::stoul(header.substr(header.find(L"\": ") + 3)));
        for (std::uint32_t k = 1; k <= count; ++k)
            ASSERT_TRUE(i + k < lines.size() && lines[i + k].starts_with(L"CR")) << header;
        total += count;
        i += 1 + count;
    }
    EXPECT_EQ(lines.back(), L"Detection finished: " + std::to_wstring(total) + L" conflict(s) found in total.");
    EXPECT_GT(total, 0u);
    std::multiset<std::wstring> expected;
    for (const wchar_t* name : names)
        expected.insert(L"Package \"" + ReadProductName(FixturePath(name)) + L"\"");
    EXPECT_EQ(packages, expected);
    EXPECT_EQ(std::count_if(
                  run->sink.events.begin(), run->sink.events.end(), [](auto& e) { return e.starts_with(L"done "); }),
        4);
}

TEST(DetectionManager, ExcludedRulesAreLeftOutByIdIgnoringCaseButNotBlanks)
{
    const Repository repository({L"rules-files-b.msi"});
    const std::set<std::wstring> all = RuleIds(RunDetection(repository, "2")->sink);
    ASSERT_TRUE(all.contains(L"CR1") && all.contains(L"CR3") && all.contains(L"CR2"));

    std::set<std::wstring> expected = all;
    expected.erase(L"CR1");
    expected.erase(L"CR3");
    EXPECT_EQ(RuleIds(RunDetection(repository, "2", L"CR1;cr3")->sink), expected);

    expected = all;
    expected.erase(L"CR2"); // " CR3" with its blank names no rule
    EXPECT_EQ(RuleIds(RunDetection(repository, "2", L"CR2; CR3")->sink), expected);
}

// The header and finding lines of every package of the repository, each pair run alone on the
// calling thread with the whole catalogue; keyed by the package's header.
std::map<std::wstring, std::vector<std::wstring>> ReferenceBlocks(
    const std::wstring& packageUnderTest, const std::wstring& repository, std::set<std::wstring>& rulesFired)
{
    RulePackage underTest(packageUnderTest);
    MergeModules modules({PathVariable(L"KW_REGISTERED_MSM"), PathVariable(L"KW_VISUAL_STUDIO_MSM")});
    const RuleCatalogue catalogue = BuildCatalogue();
    std::vector<std::wstring> files;
    ListFiles(repository, L"*.msi", files, 10);
    std::map<std::wstring, std::vector<std::wstring>> blocks;
    for (const std::wstring& file : files) {
        RulePackage package(file);
        PackagePair pair(underTest, package, &modules);
        const FindingList findings = RunCatalogue(catalogue, pair);
        const std::wstring count =
            findings.empty() ? L"no conflicts found." : std::to_wstring(findings.size()) + L" conflict(s) found.";
        const std::wstring header = L"Package \"" + package.Name() + L"\": " + count;
        std::vector<std::wstring>& block = blocks[header];
        EXPECT_TRUE(block.empty()) << "two packages with one header: " << ToUtf8(header);
        block.push_back(header);
        for (const FindingHandle& finding : findings) {
            block.push_back(finding->ruleId + L". " + finding->title + L" detected: \n" + finding->detail);
            rulesFired.insert(finding->ruleId);
        }
    }
    return blocks;
}

// The repository that the build generates beside the test programs (bench/generate-repository):
// fifty packages, each taking half of the shared resources of the package under test in a
// way of its own.
TEST(DetectionManager, FiftyOverlappingPackagesOnEightWorkersReportWhatEachPairFindsAlone)
{
    const AppPathsSandbox sandbox; // no merge modules, whatever the machine has
    sandbox.Rebuild();
    const std::wstring folder = ExecutableFolder() + L"generated" + kPathSeparator + L"repository-50" + kPathSeparator;
    const std::wstring packageUnderTest = folder + L"under-test.msi";
    const std::wstring repository = folder + L"repository";

    std::set<std::wstring> rulesFired;
    std::map<std::wstring, std::vector<std::wstring>> expected =
        ReferenceBlocks(packageUnderTest, repository, rulesFired);
    ASSERT_EQ(expected.size(), 50u);
    // Every rule but the merge-module one, which needs registered modules, finds something.
    std::set<std::wstring> allButModules;
    for (int rule = 1; rule <= 18; ++rule)
        allButModules.insert(L"CR" + std::to_wstring(rule));
    EXPECT_EQ(rulesFired, allButModules);

    ScopedEnvironment workers("NUMBER_OF_PROCESSORS", "8");
    OptionMap options;
    options.Set(L"Msi", packageUnderTest);
    options.Set(L"MsiRepo", repository);
    RecordingSink sink;
    ConflictsDetectorManager manager(options, &sink);
    EXPECT_EQ(manager.Run(), 0u);

    // Each package's header and findings once and together, in whatever order the workers
    // finished them; then the total of them all.
    const std::vector<std::wstring> lines = sink.Lines();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines.front(), L"Detecting conflicts with the repository packages...");
    size_t total = 0;
    size_t i = 1;
    while (i + 1 < lines.size()) {
        const auto block = expected.find(lines[i]);
        ASSERT_NE(block, expected.end()) << "not a header, or one reported twice: " << ToUtf8(lines[i]);
        const std::vector<std::wstring>& want = block->second;
        ASSERT_LE(i + want.size(), lines.size() - 1) << ToUtf8(lines[i]);
        EXPECT_EQ(std::vector<std::wstring>(lines.begin() + i, lines.begin() + i + want.size()), want);
        total += want.size() - 1;
        i += want.size();
        expected.erase(block);
    }
    EXPECT_TRUE(expected.empty()) << expected.size() << " packages were not reported";
    EXPECT_EQ(lines.back(), L"Detection finished: " + std::to_wstring(total) + L" conflict(s) found in total.");

    // Every step began and ended once.
    std::multiset<std::wstring> steps;
    std::multiset<std::wstring> expectedSteps;
    for (const std::wstring& event : sink.events)
        if (event.starts_with(L"begin ") || event.starts_with(L"done "))
            steps.insert(event);
    for (int step = 0; step < 50; ++step) {
        expectedSteps.insert(L"begin " + std::to_wstring(step));
        expectedSteps.insert(L"done " + std::to_wstring(step));
    }
    EXPECT_EQ(steps, expectedSteps);
}

} // namespace
} // namespace kw
