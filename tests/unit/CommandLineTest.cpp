#include <gtest/gtest.h>

#include "src/CommandLine.h"
#include "src/ConflictsDetector.h"

namespace kw {
namespace {

using Tokens = std::vector<std::wstring>;

bool Accepted(const wchar_t* line)
{
    CommandLineParser parser;
    OptionMap options;
    return parser.Parse(line, options);
}

TEST(CommandLineTokens, OnlyBlanksSeparateTokens)
{
    EXPECT_EQ(TokeniseCommandLine(L"  /NoUI   /Msi\tx  "), (Tokens{L"/NoUI", L"/Msi\tx"}));
    EXPECT_EQ(TokeniseCommandLine(L"/Msi=x"), (Tokens{L"/Msi=x"}));
    EXPECT_EQ(TokeniseCommandLine(L"    "), Tokens{});
}

TEST(CommandLineTokens, QuotedPartKeepsBlanksAndDoubledQuotes)
{
    EXPECT_EQ(TokeniseCommandLine(L"/Msi \"C:\\My Packages\\a.msi\" /NoUI"),
        (Tokens{L"/Msi", L"C:\\My Packages\\a.msi", L"/NoUI"}));
    EXPECT_EQ(TokeniseCommandLine(L"pre\"a b\" next"), (Tokens{L"prea b", L"next"}));
    EXPECT_EQ(TokeniseCommandLine(L"\"say \"\"hi\"\"\""), (Tokens{L"say \"hi\""}));
    EXPECT_EQ(TokeniseCommandLine(L"\"\" x"), (Tokens{L"", L"x"}));
    // A space before the first quote decides: the quote belongs to a later token.
    EXPECT_EQ(TokeniseCommandLine(L"a \"b c\""), (Tokens{L"a", L"b c"}));
}

TEST(CommandLineTokens, OpenOrGluedQuoteEndsTokenisingThere)
{
    EXPECT_EQ(TokeniseCommandLine(L"/NoUI /Msi \"C:\\a b.msi"), (Tokens{L"/NoUI", L"/Msi"}));
    EXPECT_EQ(TokeniseCommandLine(L"/NoUI \"a\"b /Msi x"), (Tokens{L"/NoUI"}));
    EXPECT_EQ(TokeniseCommandLine(L"/NoUI \"a\""), (Tokens{L"/NoUI", L"a"}));
}

TEST(CommandLineTokens, JoinedArgumentsSplitBackIntoTheSameArguments)
{
    const std::vector<Tokens> cases = {
        {},
        {L"/NoUI"},
        {L"/Msi", L"/home/me/My Packages/a.msi"},
        {L"", L"x", L""},
        {L"say \"hi\"", L"\"", L"\"\"", L"a\"b"},
        {L"tab\there", L"caf\u00e9 \U0001F600"},
    };
    for (const Tokens& arguments : cases)
        EXPECT_EQ(TokeniseCommandLine(JoinCommandLine(arguments)), arguments) << JoinCommandLine(arguments);
}

TEST(CommandLineOptions, OptionsAreTakenInAnyOrderIgnoringCase)
{
    CommandLineParser parser;
    OptionMap options;
    ASSERT_TRUE(parser.Parse(L"/msirepo \"D:\\Repo\" /EXCLUDEDRULES CR2;CR15 /Msi c:\\a.msi /nOuI", options));
    EXPECT_EQ(options.Get(L"NoUI"), L"true");
    EXPECT_EQ(options.Get(L"Msi"), L"c:\\a.msi");
    EXPECT_EQ(options.Get(L"MsiRepo"), L"D:\\Repo");
    EXPECT_EQ(options.Get(L"ExcludedRules"), L"CR2;CR15");
    EXPECT_TRUE(parser.AnyOptionGiven());
}

TEST(CommandLineOptions, LeftOverTokensRejectTheCommandLine)
{
    for (const wchar_t* line : {L"/Msi", L"/NoUI /Msi", L"/NoUI extra", L"/NoUI /NoUI", L"-NoUI", L"NoUI",
             L"/NoUI:true", L"/Msi=x", L"/Unknown value"})
        EXPECT_FALSE(Accepted(line)) << line;
    // Only the first of a repeated option is taken; the second pair is what is left over.
    CommandLineParser parser;
    OptionMap options;
    EXPECT_FALSE(parser.Parse(L"/Msi a.msi /Msi b.msi", options));
    EXPECT_EQ(options.Get(L"Msi"), L"a.msi");
}

} // namespace
} // namespace kw
