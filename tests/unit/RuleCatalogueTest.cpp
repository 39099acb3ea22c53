#include "RuleTestSupport.h"

#include <thread>

namespace kw {
namespace {

TEST(RuleCatalogue, HoldsTheNineteenRulesInIdOrder)
{
    const RuleCatalogue catalogue = BuildCatalogue();
    ASSERT_EQ(catalogue.size(), 19u);
    for (size_t i = 0; i < catalogue.size(); ++i) {
        EXPECT_EQ(catalogue[i].id, L"CR" + std::to_wstring(i + 1));
        EXPECT_NE(catalogue[i].function, nullptr);
    }
}

void ExpectEveryTableReadAndSortedOnce(const RulePackage& package)
{
    for (int set = 0; set < static_cast<int>(RowSet::Count); ++set)
        EXPECT_EQ(package.QueryCount(static_cast<RowSet>(set)), 1) << "row set " << set;
    for (int view = 0; view < static_cast<int>(View::Count); ++view)
        EXPECT_EQ(package.SortCount(static_cast<View>(view)), 1) << "view " << view;
}

TEST(RuleCatalogue, EachTableIsFetchedAndSortedOncePerPackageAndIntersectedOncePerPair)
{
    // Merge modules are there, so that every rule reads all it can.
    MergeModules modules({ExecutableFolder() + L"fixtures"});
    FixturePackage a(L"rules-resources-a.msi");
    FixturePackage b(L"rules-resources-b.msi");
    PackagePair pair(a, b, &modules);
    const RuleCatalogue catalogue = BuildCatalogue();
    const size_t found = RunCatalogue(catalogue, pair).size();
    EXPECT_EQ(RunCatalogue(catalogue, pair).size(), found);
    ExpectEveryTableReadAndSortedOnce(a);
    ExpectEveryTableReadAndSortedOnce(b);
    // One intersection per pair of views the rules walk; CR1 and CR2, CR3, CR16 and CR19, and
    // CR6 and CR17 share theirs.
    EXPECT_EQ(pair.IntersectionCount(), 15);

    // The package under test keeps its rows for the next pair.
    FixturePackage c(L"rules-files-b.msi");
    PackagePair next(a, c, &modules);
    RunCatalogue(catalogue, next);
    ExpectEveryTableReadAndSortedOnce(a);
    ExpectEveryTableReadAndSortedOnce(c);
}

TEST(RuleCatalogue, PairsRunningAtOnceShareThePackageUnderTest)
{
    FixturePackage underTest(L"rules-files-a.msi");
    FixturePackage first(L"rules-files-b.msi");
    FixturePackage second(L"rules-files-b.msi");
    const RuleCatalogue catalogue = BuildCatalogue();
    std::vector<ExpectedFinding> results[2];
    const auto run = [&](RulePackage& repository, std::vector<ExpectedFinding>& out) {
        PackagePair pair(underTest, repository);
        for (const FindingHandle& finding : RunCatalogue(catalogue, pair))
            out.push_back({finding->ruleId, finding->detail});
    };
    std::thread one(run, std::ref(first), std::ref(results[0]));
    std::thread two(run, std::ref(second), std::ref(results[1]));
    one.join();
    two.join();
    EXPECT_FALSE(results[0].empty());
    EXPECT_EQ(results[0], results[1]);
    // Read once at most (without merge modules, ModuleComponents is not read at all).
    for (int set = 0; set < static_cast<int>(RowSet::Count); ++set)
        EXPECT_LE(underTest.QueryCount(static_cast<RowSet>(set)), 1) << "row set " << set;
    EXPECT_EQ(underTest.QueryCount(RowSet::Files), 1);
}

TEST(ConflictFinding, DetailsAreFormattedWholeOrNotAtAll)
{
    const std::wstring longName(1000, L'x');
    EXPECT_EQ(FormatText(L"File %ls\\%ls", {L"ProgramFilesFolder", longName}), L"File ProgramFilesFolder\\" + longName);
    EXPECT_EQ(FormatText(L"%ls and %ls", {L"one"}), L"one and ");
    EXPECT_EQ(FormatText(L"", {L"one"}), L"");
    EXPECT_EQ(FormatText(L"%ls", std::vector<std::wstring>(17, L"x")), L"");
    // A text too long to be a detail is no detail.
    EXPECT_EQ(FormatText(L"%ls%ls", {std::wstring(700000, L'y'), std::wstring(700000, L'z')}), L"");

    const FindingHandle finding = MakeFinding(L"CR3", L"title", L"detail");
    EXPECT_EQ(finding->ruleId, L"CR3");
    EXPECT_EQ(finding->title, L"title");
    EXPECT_EQ(finding->detail, L"detail");
}

} // namespace
} // namespace kw
