#include "os/IniFile.h"

#include "util/strings/StringSystem.h"

namespace kw {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t";

bool MustEscape(unsigned char byte)
{
    constexpr std::string_view kSpecial = "%=;#[]";
    return byte < 0x20 || byte == 0x7F || kSpecial.find(static_cast<char>(byte)) != std::string_view::npos;
}

int HexValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    return -1;
}

std::string_view Trim(std::string_view text)
{
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

struct Entry {
    std::wstring name;
    std::wstring value;
};

// The entry on a line: "name=value", split at the first "=" (a "=" in a name is escaped).
// Blank lines and comments (";" or "#" first) are no entries.
std::optional<Entry> ParseEntry(std::string_view line)
{
    const std::string_view text = Trim(line);
    if (text.empty() || text.front() == ';' || text.front() == '#')
        return std::nullopt;
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos)
        return std::nullopt;
    return Entry{UnescapeIniText(Trim(text.substr(0, equals))), UnescapeIniText(Trim(text.substr(equals + 1)))};
}

bool IsEntryNamed(std::string_view line, std::wstring_view name)
{
    const std::optional<Entry> entry = ParseEntry(line);
    return entry && EqualsIgnoreCase(entry->name, name);
}

// The section name of a header line "[name]", if the line is one.
std::optional<std::wstring> ParseHeader(std::string_view line)
{
    const std::string_view text = Trim(line);
    if (text.empty() || text.front() != '[')
        return std::nullopt;
    const size_t close = text.find(']');
    if (close == std::string_view::npos)
        return std::nullopt;
    return UnescapeIniText(Trim(text.substr(1, close - 1)));
}

} // namespace

std::string EscapeIniText(std::wstring_view text)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    const std::string bytes = ToUtf8(text);
    std::string out;
    out.reserve(bytes.size());
    for (size_t i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        const bool blankAtEnd = byte == ' ' && (i == 0 || i + 1 == bytes.size());
        if (MustEscape(byte) || blankAtEnd) {
            out += '%';
            out += kDigits[byte >> 4];
            out += kDigits[byte & 0xF];
        } else {
            out += static_cast<char>(byte);
        }
    }
    return out;
}

std::wstring UnescapeIniText(std::string_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 && HexValue(text[i + 2]) >= 0) {
            bytes += static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
            i += 2;
        } else {
            bytes += text[i];
        }
    }
    return FromUtf8(bytes);
}

IniFile::IniFile(std::string_view text)
{
    if (text.starts_with(kByteOrderMark))
        text.remove_prefix(kByteOrderMark.size());
    while (!text.empty()) {
        const size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        if (const std::optional<std::wstring> name = ParseHeader(line))
            sections_.push_back({*name, std::string(line), {}});
        else
            LastLines().emplace_back(line);
    }
}

std::string IniFile::Text() const
{
    std::string text;
    for (const std::string& line : preamble_)
        text += line + '\n';
    for (const Section& section : sections_) {
        text += section.header + '\n';
        for (const std::string& line : section.lines)
            text += line + '\n';
    }
    return text;
}

bool IniFile::HasSection(std::wstring_view section) const { return FindSection(section) != nullptr; }

void IniFile::AddSection(std::wstring_view section)
{
    if (FindSection(section) != nullptr)
        return;
    // A blank line before each section, for whoever reads the file.
    std::vector<std::string>& previous = LastLines();
    if (!(sections_.empty() && previous.empty()) && (previous.empty() || !Trim(previous.back()).empty()))
        previous.emplace_back();
    sections_.push_back({std::wstring(section), "[" + EscapeIniText(section) + "]", {}});
}

std::optional<std::wstring> IniFile::Value(std::wstring_view section, std::wstring_view name) const
{
    const Section* found = FindSection(section);
    if (found == nullptr)
        return std::nullopt;
    for (const std::string& line : found->lines) {
        std::optional<Entry> entry = ParseEntry(line);
        if (entry && EqualsIgnoreCase(entry->name, name))
            return std::move(entry->value);
    }
    return std::nullopt;
}

void IniFile::SetValue(std::wstring_view section, std::wstring_view name, std::wstring_view value)
{
    AddSection(section);
    std::vector<std::string>& lines = FindSection(section)->lines;
    const std::string line = EscapeIniText(name) + "=" + EscapeIniText(value);
    bool replaced = false;
    for (auto it = lines.begin(); it != lines.end();) {
        if (!IsEntryNamed(*it, name)) {
            ++it;
        } else if (!replaced) {
            *it++ = line;
            replaced = true;
        } else {
            it = lines.erase(it);
        }
    }
    if (replaced)
        return;
    // After the last line that is not blank, so that the blank line before the next section stays.
    auto position = lines.end();
    while (position != lines.begin() && Trim(*(position - 1)).empty())
        --position;
    lines.insert(position, line);
}

bool IniFile::RemoveValue(std::wstring_view section, std::wstring_view name)
{
    Section* found = FindSection(section);
    if (found == nullptr)
        return false;
    return std::erase_if(found->lines, [name](const std::string& line) { return IsEntryNamed(line, name); }) > 0;
}

IniFile::Section* IniFile::FindSection(std::wstring_view name)
{
    for (Section& section : sections_) {
        if (EqualsIgnoreCase(section.name, name))
            return &section;
    }
    return nullptr;
}

const IniFile::Section* IniFile::FindSection(std::wstring_view name) const
{
    return const_cast<IniFile*>(this)->FindSection(name);
}

std::vector<std::string>& IniFile::LastLines() { return sections_.empty() ? preamble_ : sections_.back().lines; }

} // namespace kw
