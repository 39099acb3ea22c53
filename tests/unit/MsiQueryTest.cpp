#include <gtest/gtest.h>

#include "Fixtures.h"
#include "msicomp/MsiQuery.h"

namespace kw {
namespace {

TEST(QueryText, SingleTableSelectQuotesEveryNameWithBareCommas)
{
    const wchar_t* directory[] = {L"Directory", L"Directory_Parent", L"DefaultDir", nullptr};
    EXPECT_EQ(
        BuildSelect(L"Directory", directory), L"SELECT `Directory`,`Directory_Parent`,`DefaultDir` FROM `Directory`");
    const wchar_t* one[] = {L"Value", nullptr};
    EXPECT_EQ(BuildSelect(L"Property", one), L"SELECT `Value` FROM `Property`");
    EXPECT_EQ(BuildSelect(L"File", nullptr), L"SELECT * FROM `File`");
    const wchar_t* none[] = {nullptr};
    EXPECT_EQ(BuildSelect(L"File", none), L"SELECT  FROM `File`");
}

TEST(QueryText, JoinQualifiesEveryColumnAndJoinsConditionsWithAnd)
{
    EXPECT_EQ(BuildJoin(kFileComponentJoin),
        L"SELECT `File`.`File`, `File`.`Component_`, `File`.`FileName`, `File`.`FileSize`, "
        L"`Component`.`ComponentId`, `Component`.`Directory_` FROM `File`, `Component` "
        L"WHERE `File`.`Component_` = `Component`.`Component`");

    static constexpr MsiJoinColumn kHidden[] = {{L"A", 1}, {L"B", 1}, {nullptr, 0}};
    static constexpr MsiJoinColumn kShown[] = {{L"C", 1}, {L"D", 0}, {nullptr, 0}};
    static constexpr MsiJoinTable kTables[] = {{L"T", kHidden}, {L"U", kShown}, {nullptr, nullptr}};
    static constexpr MsiJoinTable kAllHidden[] = {{L"T", kHidden}, {nullptr, nullptr}};
    static constexpr MsiJoinCondition kTwo[] = {
        {L"T", L"A", L"U", L"C"}, {L"T", L"B", L"U", L"D"}, {nullptr, nullptr, nullptr, nullptr}};
    EXPECT_EQ(
        BuildJoin({kTables, kTwo}), L"SELECT `U`.`D` FROM `T`, `U` WHERE `T`.`A` = `U`.`C` AND `T`.`B` = `U`.`D`");
    EXPECT_EQ(BuildJoin({kAllHidden, kTwo}), L"SELECT *  FROM `T` WHERE `T`.`A` = `U`.`C` AND `T`.`B` = `U`.`D`");
}

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
