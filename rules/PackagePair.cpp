#include "rules/PackagePair.h"

#include <algorithm>
#include <cassert>
#include <iterator>

namespace kw {

PackagePair::PackagePair(RulePackage& underTest, RulePackage& repository, MergeModules* modules)
    : underTest_(underTest), repository_(repository), modules_(modules)
{
}

const std::vector<KeyedRow>& PackagePair::Common(View first, View second, bool reversed)
{
    assert(&OrderOf(first) == &OrderOf(second));
    const auto key = std::make_tuple(first, second, reversed);
    if (const auto found = common_.find(key); found != common_.end())
        return found->second;
    const std::vector<KeyedRow>& left = First(reversed).Sorted(first);
    const std::vector<KeyedRow>& right = Second(reversed).Sorted(second);
    std::vector<KeyedRow> common;
    std::set_intersection(left.begin(), left.end(), right.begin(), right.end(), std::back_inserter(common), KeyLess);
    return common_.emplace(key, std::move(common)).first->second;
}

const KeyedRow& PackagePair::FirstMatch(View second, const KeyedRow& row, bool reversed) const
{
    const std::vector<KeyedRow>& rows = Second(reversed).Sorted(second);
    return *std::lower_bound(rows.begin(), rows.end(), row, KeyLess);
}

} // namespace kw
