#include "core/InsertExpander.h"

#include <cwctype>

namespace kw {

namespace {

constexpr std::uint32_t kErrorInvalidParameter = 87;

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// Reads the insert number after a '%' at `pos` (one or two digits, 1 .. 99); 0 when none.
unsigned ReadInsertNumber(std::wstring_view templ, size_t& pos)
{
    if (pos >= templ.size() || templ[pos] < L'1' || templ[pos] > L'9')
        return 0;
    auto number = static_cast<unsigned>(templ[pos++] - L'0');
    if (pos < templ.size() && IsDigit(templ[pos]))
        number = number * 10 + static_cast<unsigned>(templ[pos++] - L'0');
    return number;
}

// A string format between exclamation marks: optional '-', width, '.' precision, then s, ls,
// ws or S. Anything else is refused, since every insert is text.
bool ApplyStringFormat(std::wstring_view format, const std::wstring& value, std::wstring& out)
{
    size_t pos = 0;
    const bool left = pos < format.size() && format[pos] == L'-';
    if (left)
        ++pos;
    size_t width = 0;
    while (pos < format.size() && IsDigit(format[pos]))
        width = width * 10 + static_cast<size_t>(format[pos++] - L'0');
    size_t precision = std::wstring::npos;
    if (pos < format.size() && format[pos] == L'.') {
        ++pos;
        precision = 0;
        while (pos < format.size() && IsDigit(format[pos]))
            precision = precision * 10 + static_cast<size_t>(format[pos++] - L'0');
    }
    const std::wstring_view type = format.substr(pos);
    if (type != L"s" && type != L"ls" && type != L"ws" && type != L"S")
        return false;
    const std::wstring shown = value.substr(0, precision);
    const std::wstring padding(shown.size() < width ? width - shown.size() : 0, L' ');
    out += left ? shown + padding : padding + shown;
    return true;
}

} // namespace

std::uint32_t CheckInserts(std::wstring_view templ, std::size_t insertCount)
{
    size_t pos = 0;
    while (pos < templ.size()) {
        if (templ[pos++] != L'%' || pos >= templ.size())
            continue;
        if (const unsigned number = ReadInsertNumber(templ, pos)) {
            if (number > insertCount)
                return kErrorInvalidParameter;
            continue;
        }
        if (templ[pos] == L'0')
            return 0; // %0 ends the text: nothing after it is read
        ++pos; // the escaped character, which may itself be a '%'
    }
    return 0;
}

ExpandedMessage ExpandInserts(std::wstring_view templ, std::span<const std::wstring> inserts)
{
    ExpandedMessage result;
    if (const std::uint32_t error = CheckInserts(templ, inserts.size())) {
        result.error = error;
        return result;
    }
    std::wstring& out = result.text;
    for (size_t pos = 0; pos < templ.size();) {
        const wchar_t c = templ[pos++];
        if (c == L'\r' || c == L'\n') {
            // A line break written in the template is not a line break of the message.
            if (c == L'\r' && pos < templ.size() && templ[pos] == L'\n')
                ++pos;
            out += L' ';
            continue;
        }
        if (c != L'%') {
            out += c;
            continue;
        }
        if (pos >= templ.size()) {
            result.error = kErrorInvalidParameter;
            result.text.clear();
            return result;
        }
        if (const unsigned number = ReadInsertNumber(templ, pos)) {
            const std::wstring& value = inserts[number - 1];
            const size_t close =
                pos < templ.size() && templ[pos] == L'!' ? templ.find(L'!', pos + 1) : std::wstring::npos;
            if (close == std::wstring::npos) {
                out += value;
                continue;
            }
            if (!ApplyStringFormat(templ.substr(pos + 1, close - pos - 1), value, out)) {
                result.error = kErrorInvalidParameter;
                result.text.clear();
                return result;
            }
            pos = close + 1;
            continue;
        }
        const wchar_t escape = templ[pos++];
        switch (escape) {
        case L'0': return result;
        case L'n': out += L"\r\n"; break;
        case L'r': out += L'\r'; break;
        case L't': out += L'\t'; break;
        default: out += escape; break; // %%, "% ", %., %! and any other character stand for themselves
        }
    }
    return result;
}

} // namespace kw
