#pragma once
// Text helpers shared by every subsystem. All text is wide; UTF-8 exists only at the edges
// (console, files, the installer library on POSIX), and these are the only conversions.
#include <cstdint>
#include <string>
#include <string_view>

namespace kw {

// Encodes wide text as UTF-8. On Windows wchar_t holds UTF-16 (surrogate pairs are joined);
// on POSIX it holds whole code points. Unpaired surrogates become U+FFFD.
std::string ToUtf8(std::wstring_view text);

// Decodes UTF-8 into wide text; every invalid or truncated sequence becomes one U+FFFD.
std::wstring FromUtf8(std::string_view text);
// The same, appended to `out`.
void AppendFromUtf8(std::wstring& out, std::string_view text);

// The one ordinal comparison of package values: exact, by UTF-16 code units, on every
// platform. Where wchar_t holds code points, a character above U+FFFF sorts as its surrogate
// pair would (before U+E000..U+FFFF), so both builds order rows alike. Negative, zero or
// positive, as a is less than, equal to or greater than b; a prefix sorts first.
int CompareOrdinal(std::wstring_view a, std::wstring_view b);

inline bool LessOrdinal(std::wstring_view a, std::wstring_view b) { return CompareOrdinal(a, b) < 0; }

// Compares two texts ignoring case, as option and file names are compared.
bool EqualsIgnoreCase(std::wstring_view a, std::wstring_view b);

// Lower-case hexadecimal text of a code or an address, without prefix, with leading zeros up
// to `minDigits` digits, for messages.
std::wstring ToHex(std::uintmax_t value, int minDigits = 1);

} // namespace kw
