#pragma once
// The command line: a table-driven parser that splits the raw command line into tokens,
// takes the known options out of the token list into an OptionMap, and accepts the command
// line only when no token is left over.
#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kw {

enum class OptionKind : std::uint8_t {
    Value = 0, // "/Name value"
    Flag = 1, // "/Name", stored as "true"
    NumberedList = 2, // "/Name v", "/Name1 v", ... "/Name49 v", stored as a list
};

struct OptionSpec {
    const wchar_t* name;
    OptionKind kind;
    bool hidden; // left out of the usage listing
    std::uint8_t modeBits; // ORed into the parser's mode when the option is given
};

// The program's options, in the order of the usage listing.
inline constexpr OptionSpec kOptionTable[] = {
    {L"NoUI", OptionKind::Flag, false, 1},
    {L"Msi", OptionKind::Value, false, 1},
    {L"MsiRepo", OptionKind::Value, false, 1},
    {L"ExcludedRules", OptionKind::Value, false, 1},
};

// Option name, as the table writes it, to its value text. Flags are stored as "true".
class OptionMap {
public:
    // The value of an option; empty text when it was not given.
    std::wstring Get(const std::wstring& name) const;
    bool Has(const std::wstring& name) const { return values_.contains(name); }
    void Set(const std::wstring& name, std::wstring value) { values_[name] = std::move(value); }

    const std::vector<std::wstring>& GetList(const std::wstring& name) const;
    void SetList(const std::wstring& name, std::vector<std::wstring> values) { lists_[name] = std::move(values); }

private:
    std::map<std::wstring, std::wstring> values_;
    std::map<std::wstring, std::vector<std::wstring>> lists_;
};

// Splits a raw command line (without the program path) into tokens. Only the blank separates
// tokens; a double-quoted part keeps its blanks and "" inside it stands for one quote. A quote
// left open, or a closing quote followed by anything but a blank, ends tokenising there.
std::vector<std::wstring> TokeniseCommandLine(std::wstring_view commandLine);

// Joins arguments that are already split (POSIX argv) into a command line that
// TokeniseCommandLine splits back into exactly the same arguments.
std::wstring JoinCommandLine(std::span<const std::wstring> arguments);

// The rule ids of a list such as "CR2;CR15": split at semicolons, empty pieces dropped. The
// pieces are taken as they are, blanks included, so "CR2; CR15" names CR2 and " CR15", which
// is no rule: users have always had to write the list without blanks.
std::set<std::wstring> SplitRuleIds(std::wstring_view list);

class CommandLineParser {
public:
    explicit CommandLineParser(std::span<const OptionSpec> table = kOptionTable) : table_(table) { }

    // Takes the options of the command line into `options`. True when the command line is
    // accepted: empty, or every token is a known option or its value. "/?" and "/help" are
    // never accepted, so that the usage is shown.
    bool Parse(std::wstring_view commandLine, OptionMap& options);

    // The mode bits of every option given; not zero means the console is wanted.
    std::uint8_t Mode() const { return mode_; }

    // Writes the usage: text 1118, then each listed option as "   /Name" in green.
    void PrintUsage() const;

private:
    std::span<const OptionSpec> table_;
    std::uint8_t mode_ = 0;
};

} // namespace kw
