#include "src/CommandLine.h"

#include <algorithm>

#include "os/Console.h"
#include "os/ResourceText.h"
#include "res/TextIds.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

using Tokens = std::vector<std::wstring>;

Tokens::iterator FindOption(Tokens& tokens, const std::wstring& name)
{
    const std::wstring option = L"/" + name;
    return std::find_if(
        tokens.begin(), tokens.end(), [&](const std::wstring& t) { return EqualsIgnoreCase(t, option); });
}

// Takes "/name value" out of the tokens. A name with nothing after it stays, and so makes
// the command line rejected.
bool TakeValue(Tokens& tokens, const std::wstring& name, std::wstring& value)
{
    const auto found = FindOption(tokens, name);
    if (found == tokens.end() || found + 1 == tokens.end())
        return false;
    value = *(found + 1);
    tokens.erase(found, found + 2);
    return true;
}

} // namespace

std::vector<std::wstring> TokeniseCommandLine(std::wstring_view line)
{
    std::vector<std::wstring> tokens;
    size_t pos = 0;
    for (;;) {
        pos = line.find_first_not_of(L' ', pos);
        if (pos == std::wstring_view::npos)
            return tokens;
        const size_t space = line.find(L' ', pos);
        const size_t quote = line.find(L'"', pos);
        if (quote == std::wstring_view::npos || space < quote) {
            tokens.emplace_back(line.substr(pos, space == std::wstring_view::npos ? line.size() - pos : space - pos));
            if (space == std::wstring_view::npos)
                return tokens;
            pos = space + 1;
            continue;
        }
        std::wstring token(line.substr(pos, quote - pos));
        size_t scan = quote + 1;
        for (;;) {
            const size_t close = line.find(L'"', scan);
            if (close == std::wstring_view::npos)
                return tokens; // an open quote ends tokenising; the rest is ignored
            token.append(line.substr(scan, close - scan));
            if (close + 1 < line.size() && line[close + 1] == L'"') {
                token += L'"';
                scan = close + 2;
                continue;
            }
            if (close + 1 < line.size() && line[close + 1] != L' ')
                return tokens; // text glued to a closing quote ends tokenising too
            tokens.push_back(std::move(token));
            pos = close + 1;
            break;
        }
    }
}

std::wstring JoinCommandLine(std::span<const std::wstring> arguments)
{
    std::wstring line;
    for (const std::wstring& argument : arguments) {
        if (!line.empty())
            line += L' ';
        if (!argument.empty() && argument.find_first_of(L" \"") == std::wstring::npos) {
            line += argument;
            continue;
        }
        line += L'"';
        for (wchar_t c : argument) {
            if (c == L'"')
                line += L'"';
            line += c;
        }
        line += L'"';
    }
    return line;
}

bool CommandLineParser::Parse(std::wstring_view commandLine, OptionMap& options)
{
    Tokens tokens = TokeniseCommandLine(commandLine);
    if (tokens.empty())
        return true;
    if (FindOption(tokens, L"help") != tokens.end() || FindOption(tokens, L"?") != tokens.end())
        return false;

    for (const OptionDefinition& option : table_) {
        const std::wstring name = option.name;
        bool found = false;
        switch (option.kind) {
        case OptionKind::Flag: {
            const auto flag = FindOption(tokens, name);
            if (flag != tokens.end()) {
                tokens.erase(flag);
                options.Set(name, L"true");
                found = true;
            }
            break;
        }
        case OptionKind::Value: {
            std::wstring value;
            if (TakeValue(tokens, name, value)) {
                options.Set(name, std::move(value));
                found = true;
            }
            break;
        }
        }
        anyOptionGiven_ = anyOptionGiven_ || found;
    }
    return tokens.empty();
}

void CommandLineParser::PrintUsage() const
{
    ConsoleWriter& console = ConsoleWriter::Get();
    console.WriteLine(LoadText(IDS_USAGE));
    ScopedConsoleColour green(ConsoleColour::Green);
    for (const OptionDefinition& option : table_)
        console.WriteLine(std::wstring(L"   /") + option.name);
}

} // namespace kw
