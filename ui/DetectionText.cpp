#include "ui/DetectionText.h"

#include <cwchar>
#include <optional>

#include "os/ResourceText.h"
#include "res/TextIds.h"
#include "rules/RulePackage.h"

namespace kw {

namespace {

// The most arguments a format takes.
constexpr size_t kMaxArguments = 16;
// A text longer than this is not a detail any more: formatting gives up.
constexpr size_t kMaxTextLength = 1 << 20;

// A rule's title and the format of its details. The detail lists the subject's values, then
// for each side the package's name, its path and the side's values; a registry root shows its
// name.
struct RuleTexts {
    const wchar_t* ruleId;
    unsigned title;
    unsigned detail;
    // For a rule with several kinds of finding: the field of the subject this detail is for.
    std::optional<FindingField> subject{};
};

constexpr RuleTexts kRuleTexts[] = {
    {.ruleId = L"CR1", .title = IDS_CR1_TITLE, .detail = IDS_CR1_DETAIL},
    {.ruleId = L"CR2", .title = IDS_CR2_TITLE, .detail = IDS_CR2_DETAIL},
    {.ruleId = L"CR3", .title = IDS_CR3_TITLE, .detail = IDS_CR3_DETAIL},
    {.ruleId = L"CR4", .title = IDS_CR4_TITLE, .detail = IDS_CR4_DETAIL},
    {.ruleId = L"CR5", .title = IDS_CR5_TITLE, .detail = IDS_CR5_DETAIL},
    {.ruleId = L"CR6", .title = IDS_CR6_TITLE, .detail = IDS_CR6_DETAIL},
    {.ruleId = L"CR7", .title = IDS_CR7_TITLE, .detail = IDS_CR7_DETAIL},
    {.ruleId = L"CR8", .title = IDS_CR8_TITLE, .detail = IDS_CR8_DETAIL},
    {.ruleId = L"CR9",
        .title = IDS_CR9_TITLE,
        .detail = IDS_CR9_DETAIL_DATA_SOURCE,
        .subject = FindingField::DataSource},
    {.ruleId = L"CR9", .title = IDS_CR9_TITLE, .detail = IDS_CR9_DETAIL_DRIVER, .subject = FindingField::Driver},
    {.ruleId = L"CR10", .title = IDS_CR10_TITLE, .detail = IDS_CR10_DETAIL},
    {.ruleId = L"CR11", .title = IDS_CR11_TITLE, .detail = IDS_CR11_DETAIL},
    {.ruleId = L"CR12", .title = IDS_CR12_TITLE, .detail = IDS_CR12_DETAIL},
    {.ruleId = L"CR13", .title = IDS_CR13_TITLE, .detail = IDS_CR13_DETAIL},
    {.ruleId = L"CR14", .title = IDS_CR14_TITLE, .detail = IDS_CR14_DETAIL},
    {.ruleId = L"CR15", .title = IDS_CR15_TITLE, .detail = IDS_CR15_DETAIL},
    {.ruleId = L"CR16", .title = IDS_CR16_TITLE, .detail = IDS_CR16_DETAIL},
    {.ruleId = L"CR17", .title = IDS_CR17_TITLE, .detail = IDS_CR17_DETAIL},
    {.ruleId = L"CR18", .title = IDS_CR18_TITLE, .detail = IDS_CR18_DETAIL},
    {.ruleId = L"CR19", .title = IDS_CR19_TITLE, .detail = IDS_CR19_DETAIL},
};

// The texts of the rule; of its finding whose subject begins with `subject`, when given.
const RuleTexts* TextsOf(std::wstring_view ruleId, std::optional<FindingField> subject = std::nullopt)
{
    for (const RuleTexts& texts : kRuleTexts) {
        if (ruleId == texts.ruleId && (!subject || !texts.subject || subject == texts.subject))
            return &texts;
    }
    return nullptr;
}

void AppendValues(std::vector<std::wstring>& arguments, const std::vector<FindingValue>& values)
{
    for (const FindingValue& value : values)
        arguments.push_back(value.field == FindingField::Root ? RegistryRootName(value.text) : value.text);
}

} // namespace

namespace {

// The format applied without the C library when it inserts texts only ("%ls", "%%"), as most
// do: a report prints thousands of them. Null when it has any other conversion.
std::optional<std::wstring> InsertTexts(std::wstring_view format, const std::vector<std::wstring>& arguments)
{
    std::wstring text;
    text.reserve(format.size() + 64);
    size_t next = 0;
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] != L'%') {
            text.push_back(format[i]);
        } else if (format.substr(i + 1, 1) == L"%") {
            text.push_back(L'%');
            ++i;
        } else if (format.substr(i + 1, 2) == L"ls") {
            if (next < arguments.size())
                text += arguments[next];
            ++next;
            i += 2;
        } else {
            return std::nullopt;
        }
    }
    return text;
}

} // namespace

std::wstring FormatText(const std::wstring& format, const std::vector<std::wstring>& arguments)
{
    if (format.empty() || arguments.size() > kMaxArguments)
        return {};
    if (std::optional<std::wstring> text = InsertTexts(format, arguments); text && text->size() < kMaxTextLength)
        return std::move(*text);
    // Every argument slot gets a text, so a format that asks for more than it is given reads
    // empty texts rather than whatever lies on the stack.
    const wchar_t* a[kMaxArguments];
    for (size_t i = 0; i < kMaxArguments; ++i)
        a[i] = i < arguments.size() ? arguments[i].c_str() : L"";
    std::wstring buffer(256, L'\0');
    for (;;) {
        const int written = std::swprintf(buffer.data(), buffer.size(), format.c_str(), a[0], a[1], a[2], a[3], a[4],
            a[5], a[6], a[7], a[8], a[9], a[10], a[11], a[12], a[13], a[14], a[15]);
        if (written >= 0 && static_cast<size_t>(written) < buffer.size()) {
            buffer.resize(static_cast<size_t>(written));
            return buffer;
        }
        // Too small, or the format cannot be applied: only growing tells them apart.
        if (buffer.size() >= kMaxTextLength)
            return {};
        buffer.assign(buffer.size() * 4, L'\0');
    }
}

std::wstring FormatNumber(unsigned textId, std::uint32_t value)
{
    const std::wstring format = LoadText(textId);
    std::wstring text(format.size() + 16, L'\0');
    const int length = std::swprintf(text.data(), text.size(), format.c_str(), static_cast<unsigned>(value));
    text.resize(length > 0 ? static_cast<size_t>(length) : 0);
    return text;
}

std::wstring RuleTitle(std::wstring_view ruleId)
{
    const RuleTexts* texts = TextsOf(ruleId);
    return texts != nullptr ? LoadText(texts->title) : std::wstring();
}

std::wstring FindingDetail(const ConflictFinding& finding)
{
    const RuleTexts* texts = TextsOf(finding.ruleId,
        finding.subject.empty() ? std::nullopt : std::optional<FindingField>(finding.subject.front().field));
    if (texts == nullptr)
        return {};
    std::vector<std::wstring> arguments;
    AppendValues(arguments, finding.subject);
    for (const FindingSide& side : finding.sides) {
        arguments.push_back(side.package ? side.package->name : std::wstring());
        arguments.push_back(side.package ? side.package->path : std::wstring());
        AppendValues(arguments, side.values);
    }
    return FormatText(LoadText(texts->detail), arguments);
}

std::wstring FindingLine(const ConflictFinding& finding)
{
    return FormatText(L"%ls. %ls detected: \n%ls", {finding.ruleId, RuleTitle(finding.ruleId), FindingDetail(finding)});
}

} // namespace kw
