#include <gtest/gtest.h>

#include "Fixtures.h"
#include "msicomp/MsiTableView.h"

namespace kw {
namespace {

// Only Windows has installer sessions: a session's database is obtained, used and closed
// with the holder, while a database handle handed in stays open.
TEST(SessionHandles, ASessionsDatabaseIsOwnedAndAPlainDatabaseIsNot)
{
    MsiSetInternalUI(INSTALLUILEVEL_NONE, nullptr);
    MsiHandle session;
    ASSERT_EQ(MsiOpenPackageW(FixturePath(L"no-tables.msi").c_str(), session.Put()), 0u);
    {
        MsiTableView view(session.Get());
        EXPECT_TRUE(view.Owned());
        EXPECT_NE(view.Database(), session.Get());
        EXPECT_TRUE(view.LoadTable(L"Property", nullptr));
        EXPECT_EQ(ColumnValue(view.Rows().at(0), L"Value"), L"Nothing Here");
    }

    const MsiHandle database = OpenFixture(L"no-tables.msi");
    {
        MsiTableView view(database.Get());
        EXPECT_FALSE(view.Owned());
        EXPECT_EQ(view.Database(), database.Get());
    }
    // Still open after the view is gone.
    std::wstring name;
    EXPECT_TRUE(GetPropertyValue(database.Get(), L"ProductName", name));
    EXPECT_EQ(name, L"Nothing Here");
}

} // namespace
} // namespace kw
