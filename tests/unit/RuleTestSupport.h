#pragma once
// Running rules over fixture pairs and comparing their whole finding lists.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Fixtures.h"
#include "rules/RuleCatalogue.h"
#include "util/strings/StringSystem.h"

namespace kw {

struct ExpectedFinding {
    std::wstring ruleId;
    std::wstring detail;
    bool operator==(const ExpectedFinding&) const = default;
};

inline void PrintTo(const ExpectedFinding& finding, std::ostream* out)
{
    *out << ToUtf8(finding.ruleId) << ": " << ToUtf8(finding.detail);
}

// A fixture package, shown in details by its file name so that details read alike everywhere.
class FixturePackage : public RulePackage {
public:
    explicit FixturePackage(const std::wstring& name) : RulePackage(FixturePath(name), name) { }
};

// The titles every finding of a rule must carry.
inline std::wstring ExpectedTitle(const std::wstring& ruleId)
{
    static const std::vector<std::pair<std::wstring, std::wstring>> kTitles = {
        {L"CR1", L"Component installed to different folders"},
        {L"CR2", L"Component with different files"},
        {L"CR3", L"File installed by different components"},
        {L"CR4", L"Component file with different versions"},
        {L"CR5", L"Merge module with different versions"},
        {L"CR6", L"Registry value written by different components"},
        {L"CR7", L"Shortcut created by different components"},
        {L"CR8", L"INI entry written by different components"},
        {L"CR9", L"ODBC entry installed by different components"},
        {L"CR10", L"Service installed by different components"},
        {L"CR11", L"Extension verb registered by different components"},
        {L"CR12", L"Package code shared"},
        {L"CR13", L"Product code shared"},
        {L"CR14", L"Upgrade code shared"},
        {L"CR15", L"INI file of one package installed as a file by the other"},
        {L"CR16", L"File with different size, version or language"},
        {L"CR17", L"Registry value with different data"},
        {L"CR18", L"Key path in the same folder for different components"},
        {L"CR19", L"File that a merge module can supply"},
    };
    for (const auto& [id, title] : kTitles) {
        if (id == ruleId)
            return title;
    }
    return L"?";
}

// The findings of the catalogue's rules with these ids, run over the pair in catalogue order;
// every finding's title is checked on the way.
inline std::vector<ExpectedFinding> RunRules(PackagePair& pair, const std::vector<std::wstring>& ids)
{
    RuleCatalogue selected;
    for (const ConflictRule& rule : BuildCatalogue()) {
        for (const std::wstring& id : ids) {
            if (rule.id == id)
                selected.push_back(rule);
        }
    }
    EXPECT_EQ(selected.size(), ids.size());
    std::vector<ExpectedFinding> findings;
    for (const FindingHandle& finding : RunCatalogue(selected, pair)) {
        EXPECT_EQ(finding->title, ExpectedTitle(finding->ruleId));
        findings.push_back({finding->ruleId, finding->detail});
    }
    return findings;
}

inline std::vector<ExpectedFinding> RunRules(
    RulePackage& underTest, RulePackage& repository, const std::vector<std::wstring>& ids)
{
    PackagePair pair(underTest, repository);
    return RunRules(pair, ids);
}

} // namespace kw
