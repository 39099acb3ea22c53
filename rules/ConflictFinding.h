#pragma once
// What a rule reports: findings are made once, never changed, and shared by the lists that
// carry them (from the worker that found them to the report).
#include <memory>
#include <string>
#include <vector>

namespace kw {

struct ConflictFinding {
    std::wstring ruleId; // "CR1" .. "CR19"
    std::wstring title;
    std::wstring detail;
};

// The reference count of a shared_ptr is atomic: lists made on workers are read by the report.
using FindingHandle = std::shared_ptr<const ConflictFinding>;

// In the order the rule found them; empty when there is no conflict of the rule's kind.
using FindingList = std::vector<FindingHandle>;

FindingHandle MakeFinding(std::wstring ruleId, std::wstring title, std::wstring detail);

// The detail format with id `formatId` filled printf-style with wide-text arguments (%ls).
// A format that cannot be applied gives an empty detail.
std::wstring FormatDetail(unsigned formatId, const std::vector<std::wstring>& arguments);

// Formats with a format text rather than an id; what FormatDetail does once it has the text.
std::wstring FormatText(const std::wstring& format, const std::vector<std::wstring>& arguments);

} // namespace kw
