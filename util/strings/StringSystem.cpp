#include "util/strings/StringSystem.h"

#include <algorithm>
#include <cstring>
#include <cwctype>
#include <utility>

namespace kw {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

void AppendUtf8(std::string& out, char32_t cp)
{
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

void AppendWide(std::wstring& out, char32_t cp)
{
    if constexpr (sizeof(wchar_t) == 2) {
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out += static_cast<wchar_t>(0xD800 + (cp >> 10));
            out += static_cast<wchar_t>(0xDC00 + (cp & 0x3FF));
            return;
        }
    }
    out += static_cast<wchar_t>(cp);
}

bool IsSurrogate(char32_t cp) { return cp >= 0xD800 && cp <= 0xDFFF; }

} // namespace

std::string ToUtf8(std::wstring_view text)
{
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        auto cp = static_cast<char32_t>(text[i]);
        if (cp < 0x80) {
            // A run of ASCII in one append: most text is.
            size_t end = i + 1;
            while (end < text.size() && static_cast<char32_t>(text[end]) < 0x80)
                ++end;
            out.append(text.begin() + static_cast<std::ptrdiff_t>(i), text.begin() + static_cast<std::ptrdiff_t>(end));
            i = end - 1;
            continue;
        }
        if constexpr (sizeof(wchar_t) == 2) {
            if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < text.size()) {
                const auto low = static_cast<char32_t>(text[i + 1]);
                if (low >= 0xDC00 && low <= 0xDFFF) {
                    cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
                    ++i;
                }
            }
        }
        if (IsSurrogate(cp) || cp > 0x10FFFF)
            cp = kReplacement;
        AppendUtf8(out, cp);
    }
    return out;
}

std::wstring FromUtf8(std::string_view text)
{
    std::wstring out;
    out.reserve(text.size());
    AppendFromUtf8(out, text);
    return out;
}

void AppendFromUtf8(std::wstring& out, std::string_view text)
{
    static constexpr char32_t kMinimum[] = {0, 0x80, 0x800, 0x10000};
    // No reserve of the exact size here: appending one text after another, it would reallocate
    // every time instead of growing geometrically.
    size_t i = 0;
    while (i < text.size()) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x80) {
            out.push_back(static_cast<wchar_t>(lead));
            ++i;
            continue;
        }
        const int extra = lead < 0x80 ? 0
            : (lead & 0xE0) == 0xC0   ? 1
            : (lead & 0xF0) == 0xE0   ? 2
            : (lead & 0xF8) == 0xF0   ? 3
                                      : -1;
        if (extra < 0) {
            AppendWide(out, kReplacement);
            ++i;
            continue;
        }
        char32_t cp = extra == 0 ? lead : lead & (0x3Fu >> extra);
        int taken = 0;
        while (taken < extra && i + 1 + static_cast<size_t>(taken) < text.size()) {
            const auto next = static_cast<unsigned char>(text[i + 1 + static_cast<size_t>(taken)]);
            if ((next & 0xC0) != 0x80)
                break;
            cp = (cp << 6) | (next & 0x3F);
            ++taken;
        }
        if (taken < extra || cp < kMinimum[extra] || cp > 0x10FFFF || IsSurrogate(cp))
            cp = kReplacement;
        AppendWide(out, cp);
        i += 1 + static_cast<size_t>(taken);
    }
}

namespace {

// Reads a text as UTF-16 code units, splitting code points above U+FFFF into their pairs.
class Utf16Units {
public:
    explicit Utf16Units(std::wstring_view text) : text_(text) { }

    // False at the end of the text.
    bool Next(char32_t& unit)
    {
        if (pendingLow_ != 0) {
            unit = std::exchange(pendingLow_, 0);
            return true;
        }
        if (next_ == text_.size())
            return false;
        const auto cp = static_cast<char32_t>(text_[next_++]);
        if (sizeof(wchar_t) > 2 && cp >= 0x10000 && cp <= 0x10FFFF) {
            unit = 0xD800 + ((cp - 0x10000) >> 10);
            pendingLow_ = 0xDC00 + ((cp - 0x10000) & 0x3FF);
            return true;
        }
        unit = cp;
        return true;
    }

private:
    std::wstring_view text_;
    size_t next_ = 0;
    char32_t pendingLow_ = 0;
};

} // namespace

int CompareOrdinal(std::wstring_view a, std::wstring_view b)
{
    // Equal characters give equal units: start the unit walk where the texts first differ.
    // Rows of one folder or one component view the same text.
    if (a.data() == b.data() && a.size() == b.size())
        return 0;
    const size_t common = std::min(a.size(), b.size());
    size_t i = 0;
    // Values of a column share long beginnings (folder paths, GUIDs): pass over them a block at a
    // time, which compilers do with vector instructions.
    constexpr size_t kBlock = 8;
    while (i + kBlock <= common && std::memcmp(a.data() + i, b.data() + i, kBlock * sizeof(wchar_t)) == 0)
        i += kBlock;
    while (i < common && a[i] == b[i])
        ++i;
    if (i == common)
        return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
    // Below the surrogates a character is its own unit: the first difference decides.
    const auto charA = static_cast<char32_t>(a[i]);
    const auto charB = static_cast<char32_t>(b[i]);
    if (charA < 0xD800 && charB < 0xD800)
        return charA < charB ? -1 : 1;
    Utf16Units left(a.substr(i));
    Utf16Units right(b.substr(i));
    for (;;) {
        char32_t l = 0;
        char32_t r = 0;
        const bool hasLeft = left.Next(l);
        const bool hasRight = right.Next(r);
        if (!hasLeft || !hasRight)
            return hasLeft ? 1 : hasRight ? -1 : 0;
        if (l != r)
            return l < r ? -1 : 1;
    }
}

bool EqualsIgnoreCase(std::wstring_view a, std::wstring_view b)
{
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::towupper(static_cast<wint_t>(a[i])) != std::towupper(static_cast<wint_t>(b[i])))
            return false;
    }
    return true;
}

std::wstring ToHex(std::uintmax_t value, int minDigits)
{
    static constexpr wchar_t kDigits[] = L"0123456789abcdef";
    std::wstring out;
    do {
        out.insert(out.begin(), kDigits[value & 0xF]);
        value >>= 4;
    } while (value != 0);
    if (static_cast<int>(out.size()) < minDigits)
        out.insert(0, static_cast<size_t>(minDigits) - out.size(), L'0');
    return out;
}

} // namespace kw
