#pragma once
// How a detection run reads: the texts of its findings and of its summary lines, as the
// console prints them and the wizard shows them.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "rules/ConflictFinding.h"

namespace kw {

// The format filled printf-style with wide-text arguments (%ls). A format that cannot be
// applied gives empty text.
std::wstring FormatText(const std::wstring& format, const std::vector<std::wstring>& arguments);

// A numbered text with one number in it (%u).
std::wstring FormatNumber(unsigned textId, std::uint32_t value);

// The rule's title, such as "File installed by different components"; empty for an unknown id.
std::wstring RuleTitle(std::wstring_view ruleId);

// What the finding's packages collide on and each one's side of it, on several lines.
std::wstring FindingDetail(const ConflictFinding& finding);

// "CR3. File installed by different components detected: " and the detail on the next lines.
std::wstring FindingLine(const ConflictFinding& finding);

} // namespace kw
