#pragma once
// Inserts into message templates, in the form that FormatMessageW reads from a string with
// the maximum-width flag: %1 .. %99 (optionally with a string format such as %1!5s!), %% for a
// percent sign, %n for a line break, %0 to end the text, "% ", "%.", "%!", %r and %t for a
// blank, a point, an exclamation mark, a carriage return and a tab. Line breaks written in the
// template itself become blanks. Every insert is text.
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kw {

struct ExpandedMessage {
    std::wstring text;
    std::uint32_t error = 0; // 0 when the template was expanded, else a Win32 error
};

// The portable expander, used where FormatMessageW is not available.
ExpandedMessage ExpandInserts(std::wstring_view templ, std::span<const std::wstring> inserts);

// Checks what the system expander cannot check itself: every insert that the template names
// must be given. ERROR_INVALID_PARAMETER (87) when one is missing, else 0.
std::uint32_t CheckInserts(std::wstring_view templ, std::size_t insertCount);

// The platform's expander: FormatMessageW on Windows, ExpandInserts on POSIX.
ExpandedMessage FormatMessageFromString(std::wstring_view templ, std::span<const std::wstring> inserts);

} // namespace kw
