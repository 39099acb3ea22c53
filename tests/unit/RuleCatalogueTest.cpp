#include "RuleTestSupport.h"

#include <thread>

namespace kw {
namespace {

TEST(RuleCatalogue, HoldsTheNineteenRulesInIdOrder)
{
    const RuleCatalogue catalogue = BuildCatalogue();
    ASSERT_EQ(catalogue.size(), 19u);
    for (size_t i = 0; i < catalogue.size(); ++i)
        EXPECT_EQ(catalogue[i].id, L"CR" + std::to_wstring(i + 1));
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
            out.push_back({finding->ruleId, FindingDetail(*finding)});
    };
    std::thread one(run, std::ref(first), std::ref(results[0]));
    std::thread two(run, std::ref(second), std::ref(results[1]));
    one.join();
    two.join();
    EXPECT_EQ(results[0].size(), 19u);
    EXPECT_EQ(results[0], results[1]);
}

TEST(CodeRules, OnlyCodesThatBothPackagesHaveAndThatAreEqualAreReported)
{
    // Other codes, and no upgrade code on one side.
    FixturePackage a(L"rules-resources-a.msi");
    FixturePackage other(L"rules-files-a.msi");
    EXPECT_EQ(RunRules(a, other, {L"CR12", L"CR13", L"CR14"}), std::vector<ExpectedFinding>{});
    // A package that cannot be opened has no codes to share, not two equal empty ones.
    RulePackage missing(FixturePath(L"no-such-package.msi"));
    EXPECT_EQ(RunRules(missing, missing, {L"CR12", L"CR13", L"CR14"}), std::vector<ExpectedFinding>{});
    EXPECT_EQ(missing.Name(), L"");
}

} // namespace
} // namespace kw
