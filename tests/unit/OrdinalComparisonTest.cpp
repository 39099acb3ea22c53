#include <gtest/gtest.h>

#include "util/strings/StringSystem.h"

namespace kw {
namespace {

TEST(OrdinalComparison, OrdersByUtf16CodeUnitsOnEveryPlatform)
{
    EXPECT_LT(CompareOrdinal(L"ab", L"abc"), 0);
    EXPECT_GT(CompareOrdinal(L"b", L"abc"), 0);
    // No case folding: upper case sorts before lower case.
    EXPECT_LT(CompareOrdinal(L"Z", L"a"), 0);
    // A character above U+FFFF is a surrogate pair: it sorts before U+E000..U+FFFF but after
    // U+D7FF, where code-point order would put it after all of them.
    EXPECT_LT(CompareOrdinal(L"\U00010000", L"\uFFFF"), 0);
    EXPECT_LT(CompareOrdinal(L"x\U0001F600y", L"x\uE000"), 0);
    EXPECT_GT(CompareOrdinal(L"\U00010000", L"\uD7FF"), 0);
    EXPECT_LT(CompareOrdinal(L"a\U0001F600", L"a\U0001F600b"), 0);
    EXPECT_TRUE(LessOrdinal(L"\u00E9", L"\U00020000"));
}

} // namespace
} // namespace kw
