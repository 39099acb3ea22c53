#pragma once
// The command line: a table-driven parser that splits the raw command line into tokens,
// takes the known options out of the token list into an OptionMap, and accepts the command
// line only when no token is left over.
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/OptionMap.h"

namespace kw {

enum class OptionKind : std::uint8_t {
    Value, // "/Name value"
    Flag, // "/Name", stored as "true"
};

struct OptionDefinition {
    const wchar_t* name;
    OptionKind kind;
};

// The program's options, in the order of the usage listing.
inline constexpr OptionDefinition kOptionTable[] = {
    {L"NoUI", OptionKind::Flag},
    {L"Msi", OptionKind::Value},
    {L"MsiRepo", OptionKind::Value},
    {L"ExcludedRules", OptionKind::Value},
};

// Splits a raw command line (without the program path) into tokens. Only the blank separates
// tokens; a double-quoted part keeps its blanks and "" inside it stands for one quote. A quote
// left open, or a closing quote followed by anything but a blank, ends tokenising there.
std::vector<std::wstring> TokeniseCommandLine(std::wstring_view commandLine);

// Joins arguments that are already split (POSIX argv) into a command line that
// TokeniseCommandLine splits back into exactly the same arguments.
std::wstring JoinCommandLine(std::span<const std::wstring> arguments);

class CommandLineParser {
public:
    explicit CommandLineParser(std::span<const OptionDefinition> table = kOptionTable) : table_(table) { }

    // Takes the options of the command line into `options`. True when the command line is
    // accepted: empty, or every token is a known option or its value. "/?" and "/help" are
    // never accepted, so that the usage is shown.
    bool Parse(std::wstring_view commandLine, OptionMap& options);

    // Whether any option was given: then the console is wanted, whatever runs.
    bool AnyOptionGiven() const { return anyOptionGiven_; }

    // Writes the usage text, then each option as "   /Name" in green.
    void PrintUsage() const;

private:
    std::span<const OptionDefinition> table_;
    bool anyOptionGiven_ = false;
};

} // namespace kw
