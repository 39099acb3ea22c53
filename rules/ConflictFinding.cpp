#include "rules/ConflictFinding.h"

#include <cwchar>

#include "os/ResourceText.h"

namespace kw {

namespace {

// The most arguments a detail format takes.
constexpr size_t kMaxArguments = 16;
// A detail longer than this is not a detail any more: formatting gives up.
constexpr size_t kMaxDetailLength = 1 << 20;

} // namespace

FindingHandle MakeFinding(std::wstring ruleId, std::wstring title, std::wstring detail)
{
    return std::make_shared<const ConflictFinding>(
        ConflictFinding{std::move(ruleId), std::move(title), std::move(detail)});
}

std::wstring FormatText(const std::wstring& format, const std::vector<std::wstring>& arguments)
{
    if (format.empty() || arguments.size() > kMaxArguments)
        return {};
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
        if (buffer.size() >= kMaxDetailLength)
            return {};
        buffer.assign(buffer.size() * 4, L'\0');
    }
}

std::wstring FormatDetail(unsigned formatId, const std::vector<std::wstring>& arguments)
{
    return FormatText(LoadText(formatId), arguments);
}

} // namespace kw
