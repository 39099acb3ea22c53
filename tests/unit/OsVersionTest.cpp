#include <gtest/gtest.h>

#include <iterator>

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

TEST(OsVersion, SuiteMaskHasTheBitOfEveryKnownNameUpToTheEmptyOne)
{
    const wchar_t all[] = L"Small Business\0Enterprise\0BackOffice\0CommunicationServer\0Terminal Server\0"
                          L"Small Business(Restricted)\0EmbeddedNT\0DataCenter\0Personal\0Blade\0"
                          L"Embedded(Restricted)\0Security Appliance\0Storage Server\0Compute Server\0";
    EXPECT_EQ(SuiteMaskOf(std::wstring_view(all, std::size(all))), 0x7EFF);
    const wchar_t some[] = L"Terminal Server\0Nonsense\0Enterprise \0Enterprise\0\0Personal\0";
    EXPECT_EQ(SuiteMaskOf(std::wstring_view(some, std::size(some))), 0x0012);
}

} // namespace
} // namespace kw
