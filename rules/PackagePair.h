#pragma once
// The two packages a rule compares: the package under test and one package of the
// repository, with the rows their keys have in common, worked out once per pair.
#include <map>
#include <tuple>
#include <vector>

#include "rules/MergeModules.h"
#include "rules/RulePackage.h"

namespace kw {

class PackagePair {
public:
    // The packages outlive the pair; the package under test is shared with other pairs.
    // `modules` are the merge modules of the run; without them nothing is supplied by one.
    PackagePair(RulePackage& underTest, RulePackage& repository, MergeModules* modules = nullptr);

    RulePackage& UnderTest() const { return underTest_; }
    RulePackage& Repository() const { return repository_; }
    // Reversed, the repository package comes first.
    RulePackage& First(bool reversed) const { return reversed ? repository_ : underTest_; }
    RulePackage& Second(bool reversed) const { return reversed ? underTest_ : repository_; }
    MergeModules* Modules() const { return modules_; }

    // The rows of the first package's view whose key the second package's view also has, in
    // key order; a key occurs as often as on the side where it is rarer. Both views must share
    // their order. Computed on first use and kept for the pair.
    const std::vector<KeyedRow>& Common(View first, View second, bool reversed = false);

    // The first row of the second package's view with the key of `row`; its key must be there.
    const KeyedRow& FirstMatch(View second, const KeyedRow& row, bool reversed = false) const;

private:
    RulePackage& underTest_;
    RulePackage& repository_;
    MergeModules* modules_;
    std::map<std::tuple<View, View, bool>, std::vector<KeyedRow>> common_;
};

} // namespace kw
