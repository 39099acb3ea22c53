#include <gtest/gtest.h>

#include "util/strings/StringSystem.h"

namespace kw {
namespace {

TEST(Utf8, TextRoundTripsThroughUtf8)
{
    const std::wstring text = L"a\u00e9\u20ac\U0001F600\uFFFF";
    EXPECT_EQ(ToUtf8(text), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBF");
    EXPECT_EQ(FromUtf8(ToUtf8(text)), text);
}

TEST(Utf8, EveryInvalidSequenceBecomesOneReplacementCharacter)
{
    EXPECT_EQ(FromUtf8("a\xFF"
                       "b"),
        L"a\uFFFD"
        L"b");
    EXPECT_EQ(FromUtf8("a\xC3"), L"a\uFFFD"); // truncated at the end
    EXPECT_EQ(FromUtf8("\xE2\x82"
                       "x"),
        L"\uFFFD"
        L"x"); // truncated before a letter
    EXPECT_EQ(FromUtf8("\xC0\xAF"), L"\uFFFD"); // overlong
    EXPECT_EQ(FromUtf8("\xED\xA0\x80"), L"\uFFFD"); // an encoded surrogate
}

} // namespace
} // namespace kw
