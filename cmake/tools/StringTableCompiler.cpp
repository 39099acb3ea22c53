// Turns the STRINGTABLE of a resource script into C++ source for the POSIX resource library,
// so that one script is the source of every numbered text on both platforms.
//
// The grammar is the subset that the Windows resource compilers read alike: comments,
// "#pragma code_page(65001)", `#include "header"` of a header (beside the script) that names
// ids with "#define NAME number" lines, STRINGTABLE with BEGIN/END (or braces), and entries of
// an id (a decimal number or a defined name), an optional comma and one plain UTF-8 string. Inside a string "" is a
// quote and \n, \r, \t and \\ are escapes. Anything else is refused with the line it stands on, so a text that one
// compiler would read differently from the other never reaches a build.
#include <cctype>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw std::runtime_error(path + " cannot be read");
    std::stringstream content;
    content << in.rdbuf();
    return content.str();
}

class Script {
public:
    Script(std::string text, std::string folder) : text_(std::move(text)), folder_(std::move(folder)) { }

    std::map<unsigned, std::u32string> ReadStringTables()
    {
        std::map<unsigned, std::u32string> texts;
        for (SkipBlanks(); !AtEnd(); SkipBlanks()) {
            if (Peek() == '#') {
                ReadPragma();
                continue;
            }
            const std::string word = ReadWord();
            if (word != "STRINGTABLE")
                Fail("expected STRINGTABLE, found '" + word + "'");
            ReadTable(texts);
        }
        return texts;
    }

private:
    [[noreturn]] void Fail(const std::string& what) const
    {
        throw std::runtime_error("line " + std::to_string(line_) + ": " + what);
    }

    bool AtEnd() const { return pos_ >= text_.size(); }
    char Peek(size_t ahead = 0) const { return pos_ + ahead < text_.size() ? text_[pos_ + ahead] : '\0'; }
    char Next()
    {
        if (AtEnd())
            Fail("unexpected end of the script");
        const char c = text_[pos_++];
        if (c == '\n')
            ++line_;
        return c;
    }

    void SkipBlanks()
    {
        while (!AtEnd()) {
            const char c = Peek();
            if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
                Next();
            } else if (text_.compare(pos_, 2, "//") == 0) {
                while (!AtEnd() && Peek() != '\n')
                    Next();
            } else if (text_.compare(pos_, 2, "/*") == 0) {
                const auto end = text_.find("*/", pos_ + 2);
                if (end == std::string::npos)
                    Fail("unterminated comment");
                while (pos_ < end + 2)
                    Next();
            } else {
                return;
            }
        }
    }

    std::string ReadWord()
    {
        std::string word;
        while (!AtEnd() && (std::isalnum(static_cast<unsigned char>(Peek())) || Peek() == '_'))
            word += Next();
        if (word.empty())
            Fail(std::string("unexpected character '") + Peek() + "'");
        return word;
    }

    void ReadPragma()
    {
        std::string directive;
        while (!AtEnd() && Peek() != '\n' && Peek() != '\r')
            directive += Next();
        static const std::regex include(R"re(#include\s+"([^"]+)"\s*)re");
        std::smatch match;
        if (std::regex_match(directive, match, include))
            ReadIdHeader(match[1].str());
        else if (directive != "#pragma code_page(65001)")
            Fail("only '#pragma code_page(65001)' and #include of an id header may stand in the script, not '" +
                directive + "'");
    }

    // A header of "#define NAME number" lines, with comments, blank lines and "#pragma once".
    void ReadIdHeader(const std::string& name)
    {
        static const std::regex define(R"(\s*#define\s+([A-Za-z_]\w*)\s+(\d{1,5})\s*(//.*)?)");
        static const std::regex ignored(R"(\s*(//.*|#pragma once\s*)?)");
        std::istringstream header(ReadFile(folder_ + name));
        std::string line;
        for (int number = 1; std::getline(header, line); ++number) {
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            std::smatch match;
            if (std::regex_match(line, match, define)) {
                const unsigned long id = std::stoul(match[2].str());
                if (id > 65535 || !ids_.emplace(match[1].str(), static_cast<unsigned>(id)).second)
                    Fail(name + " line " + std::to_string(number) + ": an id from 0 to 65535, defined once");
            } else if (!std::regex_match(line, ignored)) {
                Fail(name + " line " + std::to_string(number) + ": only #define NAME number lines may stand there");
            }
        }
    }

    void ReadTable(std::map<unsigned, std::u32string>& texts)
    {
        SkipBlanks();
        const bool braces = Peek() == '{';
        if (braces)
            Next();
        else if (ReadWord() != "BEGIN")
            Fail("expected BEGIN after STRINGTABLE");
        for (;;) {
            SkipBlanks();
            if (braces && Peek() == '}') {
                Next();
                return;
            }
            if (text_.compare(pos_, 3, "END") == 0 && !std::isalnum(static_cast<unsigned char>(Peek(3))) &&
                Peek(3) != '_') {
                ReadWord();
                return;
            }
            const unsigned id = ReadId();
            SkipBlanks();
            if (Peek() == ',')
                Next();
            SkipBlanks();
            std::u32string text = ReadString();
            if (!texts.emplace(id, std::move(text)).second)
                Fail("id " + std::to_string(id) + " is defined twice");
        }
    }

    unsigned ReadId()
    {
        if (std::isalpha(static_cast<unsigned char>(Peek())) || Peek() == '_') {
            const std::string name = ReadWord();
            const auto found = ids_.find(name);
            if (found == ids_.end())
                Fail("the id " + name + " is not defined");
            return found->second;
        }
        std::string digits;
        while (std::isdigit(static_cast<unsigned char>(Peek())))
            digits += Next();
        if (digits.empty() || digits.size() > 5 || std::stoul(digits) > 65535)
            Fail("expected a text id from 0 to 65535");
        return static_cast<unsigned>(std::stoul(digits));
    }

    std::u32string ReadString()
    {
        if (Peek() == 'L')
            Fail("write texts as plain UTF-8 strings: windres misreads non-ASCII text in L\"...\"");
        if (Next() != '"')
            Fail("expected a string");
        std::string bytes;
        for (;;) {
            const char c = Next();
            if (c == '\n')
                Fail("a string may not span lines; write \\n for a line break");
            if (c == '"') {
                if (Peek() != '"')
                    break;
                Next();
                bytes += '"';
            } else if (c == '\\') {
                const char e = Next();
                switch (e) {
                case 'n': bytes += '\n'; break;
                case 'r': bytes += '\r'; break;
                case 't': bytes += '\t'; break;
                case '\\': bytes += '\\'; break;
                default: Fail(std::string("unsupported escape \\") + e + " (write \"\" for a quote)");
                }
            } else {
                bytes += c;
            }
        }
        return DecodeUtf8(bytes);
    }

    std::u32string DecodeUtf8(const std::string& bytes) const
    {
        std::u32string out;
        for (size_t i = 0; i < bytes.size();) {
            const auto lead = static_cast<unsigned char>(bytes[i]);
            int extra = lead < 0x80     ? 0
                : (lead & 0xE0) == 0xC0 ? 1
                : (lead & 0xF0) == 0xE0 ? 2
                : (lead & 0xF8) == 0xF0 ? 3
                                        : -1;
            if (extra < 0 || i + static_cast<size_t>(extra) >= bytes.size())
                Fail("the script is not valid UTF-8");
            char32_t cp = extra == 0 ? lead : lead & (0x3F >> extra);
            for (int k = 1; k <= extra; ++k) {
                const auto b = static_cast<unsigned char>(bytes[i + static_cast<size_t>(k)]);
                if ((b & 0xC0) != 0x80)
                    Fail("the script is not valid UTF-8");
                cp = (cp << 6) | (b & 0x3F);
            }
            static constexpr char32_t kMinimum[] = {0, 0x80, 0x800, 0x10000};
            if (cp < kMinimum[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
                Fail("the script is not valid UTF-8");
            out += cp;
            i += static_cast<size_t>(extra) + 1;
        }
        return out;
    }

    std::string text_;
    std::string folder_;
    std::map<std::string, unsigned> ids_;
    size_t pos_ = 0;
    int line_ = 1;
};

std::string WideLiteral(const std::u32string& text)
{
    std::string literal = "L\"";
    char buffer[16];
    for (char32_t c : text) {
        if (c == '"' || c == '\\') {
            literal += '\\';
            literal += static_cast<char>(c);
        } else if (c >= 0x20 && c < 0x7F) {
            literal += static_cast<char>(c);
        } else if (c < 0x80) {
            std::snprintf(buffer, sizeof buffer, "\\%03o", static_cast<unsigned>(c));
            literal += buffer;
        } else {
            std::snprintf(buffer, sizeof buffer, "\\U%08X", static_cast<unsigned>(c));
            literal += buffer;
        }
    }
    return literal + "\"";
}

// On POSIX wchar_t holds a whole code point; the library hands texts out as they would come
// from the Windows resource, so lengths count code points there and UTF-16 units here alike.
std::string Generate(const std::map<unsigned, std::u32string>& texts, const std::string& source)
{
    std::ostringstream out;
    out << "// Generated from " << source << " by the string table compiler. Do not edit.\n"
        << "#include <cstddef>\n\nnamespace {\n"
        << "struct Entry {\n    unsigned id;\n    const wchar_t* text;\n    std::size_t length;\n};\n"
        << "constexpr Entry kEntries[] = {\n";
    for (const auto& [id, text] : texts)
        out << "    {" << id << "u, " << WideLiteral(text) << ", " << text.size() << "u},\n";
    if (texts.empty())
        out << "    {0u, L\"\", 0u},\n";
    out << "};\n"
        << "constexpr std::size_t kCount = " << texts.size() << "u;\n"
        << "} // namespace\n\n"
        << "// Returns the text with this id and its length, or null when the library has none.\n"
        << "extern \"C\" __attribute__((visibility(\"default\"))) const wchar_t* KwFindText(unsigned id, std::size_t* "
           "length)\n"
        << "{\n"
        << "    std::size_t low = 0, high = kCount;\n"
        << "    while (low < high) {\n"
        << "        const std::size_t mid = low + (high - low) / 2;\n"
        << "        if (kEntries[mid].id < id)\n            low = mid + 1;\n"
        << "        else if (id < kEntries[mid].id)\n            high = mid;\n"
        << "        else {\n            *length = kEntries[mid].length;\n            return kEntries[mid].text;\n      "
           "  }\n"
        << "    }\n"
        << "    return nullptr;\n"
        << "}\n";
    return out.str();
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "usage: kwrc <script.rc> <output.cpp>\n";
        return 2;
    }
    try {
        const std::string script = argv[1];
        const auto slash = script.find_last_of("/\\");
        const std::string folder = slash == std::string::npos ? std::string() : script.substr(0, slash + 1);
        const auto texts = Script(ReadFile(script), folder).ReadStringTables();
        std::ofstream out(argv[2], std::ios::binary | std::ios::trunc);
        out << Generate(texts, argv[1]);
        if (!out.flush())
            throw std::runtime_error(std::string("cannot write ") + argv[2]);
    } catch (const std::exception& e) {
        std::cerr << argv[1] << ": " << e.what() << "\n";
        return 1;
    }
    return 0;
}
