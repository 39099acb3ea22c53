#include <gtest/gtest.h>

#include "Fixtures.h"
#include "msicomp/MsiTableView.h"

namespace kw {
namespace {

TEST(TableView, CellsOfEveryTypeReadAsText)
{
    const MsiHandle database = OpenFixture(L"table-values.msi");
    MsiTableView view(database.Get());
    ASSERT_TRUE(view.LoadTable(L"Values", nullptr));
    EXPECT_EQ(view.Name(), L"Values");
    EXPECT_EQ(view.ColumnNames(), (std::vector<std::wstring>{L"Key", L"Text", L"Number", L"Wide", L"Data"}));
    EXPECT_EQ(view.ColumnTypes(), (std::vector<wchar_t>{L's', L's', L'i', L'l', L'v'}));
    EXPECT_EQ(view.Rows(),
        (std::vector<MsiRow>{
            {{L"Key", L"empty"}, {L"Text", L""}, {L"Number", L""}, {L"Wide", L""}, {L"Data", L"{Binary Data}"}},
            {{L"Key", L"full"}, {L"Text", L"text"}, {L"Number", L"-42"}, {L"Wide", L"\u0142\u00f3d\u017a \u2713"},
                {L"Data", L"{Binary Data}"}},
        }));
    std::string blob;
    for (int i = 0; i < 3; ++i)
        for (int b = 0; b < 256; ++b)
            blob += static_cast<char>(b);
    EXPECT_EQ(view.Streams(), (std::vector<std::string>{"", blob}));
    EXPECT_EQ(ColumnValue(view.Rows()[1], L"NoSuchColumn"), L"");
}

TEST(TableView, MissingTableYieldsNoRowsAndTheViewCanBeUsedAgain)
{
    const MsiHandle database = OpenFixture(L"no-tables.msi");
    MsiTableView view(database.Get());
    const wchar_t* columns[] = {L"File", L"FileName", nullptr};
    EXPECT_FALSE(view.LoadTable(L"File", columns));
    EXPECT_FALSE(view.Loaded());
    EXPECT_TRUE(view.Rows().empty());
    EXPECT_TRUE(view.ColumnNames().empty());

    EXPECT_TRUE(view.LoadTable(L"Property", nullptr));
    EXPECT_EQ(view.Rows(), (std::vector<MsiRow>{{{L"Property", L"ProductName"}, {L"Value", L"Nothing Here"}}}));
}

} // namespace
} // namespace kw
