#pragma once
// Running rules over fixture pairs and comparing their whole finding lists.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Fixtures.h"
#include "rules/RuleCatalogue.h"
#include "ui/DetectionText.h"
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

// The findings of the catalogue's rules with these ids, run over the pair in catalogue order,
// with their details as the console shows them.
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
    for (const FindingHandle& finding : RunCatalogue(selected, pair))
        findings.push_back({finding->ruleId, FindingDetail(*finding)});
    return findings;
}

inline std::vector<ExpectedFinding> RunRules(
    RulePackage& underTest, RulePackage& repository, const std::vector<std::wstring>& ids)
{
    PackagePair pair(underTest, repository);
    return RunRules(pair, ids);
}

} // namespace kw
