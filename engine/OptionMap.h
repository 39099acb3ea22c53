#pragma once
// The options of a run by name: what the command line gives, or what the wizard's pages chose.
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace kw {

// Option name, as the option table writes it, to its value text. Flags are stored as "true".
class OptionMap {
public:
    // The value of an option; empty text when it was not given.
    std::wstring Get(const std::wstring& name) const;
    bool Has(const std::wstring& name) const { return values_.contains(name); }
    void Set(const std::wstring& name, std::wstring value) { values_[name] = std::move(value); }

private:
    std::map<std::wstring, std::wstring> values_;
};

// The rule ids of a list such as "CR2;CR15": split at semicolons, empty pieces dropped. The
// pieces are taken as they are, blanks included, so "CR2; CR15" names CR2 and " CR15", which
// is no rule: users have always had to write the list without blanks.
std::set<std::wstring> SplitRuleIds(std::wstring_view list);

} // namespace kw
