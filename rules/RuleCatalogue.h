#pragma once
// The conflict rules: nineteen plain functions in one table, CR1 to CR19 in id order. A rule
// holds no state: everything it caches lives in the packages and the pair.
#include <string>
#include <vector>

#include "rules/ConflictFinding.h"
#include "rules/PackagePair.h"

namespace kw {

using RuleFunction = FindingList (*)(PackagePair& pair);

struct ConflictRule {
    std::wstring id; // "CR1" .. "CR19"
    RuleFunction function;
};

using RuleCatalogue = std::vector<ConflictRule>;

// The nineteen rules in the order CR1, CR2, ..., CR19.
RuleCatalogue BuildCatalogue();

// Every rule of the catalogue over the pair: CR1's findings first, each rule's in the order
// it made them.
FindingList RunCatalogue(const RuleCatalogue& catalogue, PackagePair& pair);

} // namespace kw
