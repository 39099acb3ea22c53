#include <gtest/gtest.h>

#include "Fixtures.h"
#include "msicomp/MsiQuery.h"

namespace kw {
namespace {

TEST(PropertyLookup, FindsAValueAndLeavesTheOutputAloneOtherwise)
{
    const MsiHandle database = OpenFixture(L"directories.msi");
    std::wstring value = L"untouched";
    EXPECT_TRUE(GetPropertyValue(database.Get(), L"ProductName", value));
    EXPECT_EQ(value, L"Directory Resolution");

    value = L"untouched";
    EXPECT_FALSE(GetPropertyValue(database.Get(), L"NoSuchProperty", value));
    EXPECT_FALSE(GetPropertyValue(0, L"ProductName", value));
    const MsiHandle bare = OpenFixture(L"filesize-too-large.msi"); // no Property table at all
    EXPECT_FALSE(GetPropertyValue(bare.Get(), L"ProductName", value));
    EXPECT_EQ(value, L"untouched");
}

TEST(PackageCode, IsTheRevisionNumberOrEmptyWhenUnreadable)
{
    EXPECT_EQ(GetPackageCode(OpenFixture(L"directories.msi").Get()), L"{D1D2D3D4-E5E6-4F70-8182-939495969798}");
    EXPECT_EQ(GetPackageCode(0), L"");

    MsiHandle missing;
    EXPECT_NE(OpenPackage(FixturePath(L"no-such-package.msi"), missing), 0u);
    EXPECT_FALSE(missing);
}

} // namespace
} // namespace kw
