#pragma once
// The text of an INI file as the settings key keeps it on POSIX: sections "[name]" holding
// lines "name=value". Section and value names ignore case. Lines that a change does not
// touch (comments, blank lines, other entries) are written back as they were read; line ends
// are written as "\n" ("\r\n" is read too) and a leading UTF-8 byte-order mark is dropped.
//
// Names and values are UTF-8 text in which "%" and two hexadecimal digits stand for one
// byte. Written that way are "%", "=", ";", "#", "[", "]", the control characters
// (U+0000..U+001F and U+007F, so line breaks too) and a blank at either end (readers of INI
// files trim blanks); every other character, non-ASCII included, is written as it is, so a
// value with any characters reads back as it was written. A "%" without two hexadecimal
// digits after it reads as itself. Blanks around names and values are not part of them.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kw {

std::string EscapeIniText(std::wstring_view text);
std::wstring UnescapeIniText(std::string_view text);

class IniFile {
public:
    IniFile() = default;
    explicit IniFile(std::string_view text);

    std::string Text() const;

    bool HasSection(std::wstring_view section) const;
    // Adds an empty section at the end unless there is one of that name.
    void AddSection(std::wstring_view section);

    // The value of the first entry of that name in the first section of that name.
    std::optional<std::wstring> Value(std::wstring_view section, std::wstring_view name) const;
    // Replaces the entry, or adds it after the section's last entry; adds the section when it
    // is missing. Further entries of the same name are removed, so that the value read back
    // is the one written.
    void SetValue(std::wstring_view section, std::wstring_view name, std::wstring_view value);
    // Removes every entry of that name from the section; false when there was none.
    bool RemoveValue(std::wstring_view section, std::wstring_view name);

private:
    struct Section {
        std::wstring name;
        std::string header; // the "[name]" line as read or written
        std::vector<std::string> lines;
    };

    Section* FindSection(std::wstring_view name);
    const Section* FindSection(std::wstring_view name) const;
    std::vector<std::string>& LastLines();

    std::vector<std::string> preamble_; // lines before the first section
    std::vector<Section> sections_;
};

} // namespace kw
