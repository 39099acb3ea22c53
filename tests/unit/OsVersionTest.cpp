#include <gtest/gtest.h>

#include "os/OsVersion.h"

namespace kw {
namespace {

TEST(OsVersion, VersionsComeFromSingleDigitTextAndCompareMajorFirst)
{
    const auto version = ParseCurrentVersion(L"6.1");
    ASSERT_TRUE(version.has_value());
    EXPECT_EQ(version->major, 6u);
    EXPECT_EQ(version->minor, 1u);
    OsVersion windows10;
    windows10.major = 10;
    EXPECT_TRUE(windows10.AtLeast(6, 1));
    EXPECT_FALSE(windows10.AtLeast(10, 1));
    for (const wchar_t* text : {L"10.0", L"6.10", L"6,1", L"a.1", L""})
        EXPECT_FALSE(ParseCurrentVersion(text).has_value()) << text;
}

} // namespace
} // namespace kw
