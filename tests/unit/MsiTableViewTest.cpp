#include <gtest/gtest.h>

#include "Fixtures.h"
#include "msicomp/MsiTableView.h"

namespace kw {
namespace {

std::vector<std::vector<std::wstring>> Cells(const MsiTableView& view)
{
    std::vector<std::vector<std::wstring>> rows(view.RowCount());
    for (size_t row = 0; row < rows.size(); ++row) {
        for (size_t column = 0; column < view.ColumnNames().size(); ++column)
            rows[row].emplace_back(view.Value(row, column));
    }
    return rows;
}

TEST(TableView, CellsOfEveryTypeReadAsText)
{
    const MsiHandle database = OpenFixture(L"table-values.msi");
    MsiTableView view(database.Get());
    ASSERT_TRUE(view.LoadTable(L"Values", nullptr));
    EXPECT_EQ(view.Name(), L"Values");
    EXPECT_EQ(view.ColumnNames(), (std::vector<std::wstring>{L"Key", L"Text", L"Number", L"Wide", L"Data"}));
    EXPECT_EQ(view.ColumnTypes(), (std::vector<wchar_t>{L's', L's', L'i', L'l', L'v'}));
    EXPECT_EQ(Cells(view),
        (std::vector<std::vector<std::wstring>>{
            {L"empty", L"", L"", L"", L"{Binary Data}"},
            {L"full", L"text", L"-42", L"\u0142\u00f3d\u017a \u2713", L"{Binary Data}"},
        }));
    std::string blob;
    for (int i = 0; i < 3; ++i)
        for (int b = 0; b < 256; ++b)
            blob += static_cast<char>(b);
    EXPECT_EQ(view.Streams(), (std::vector<std::string>{"", blob}));
    EXPECT_EQ(view.ColumnIndex(L"Number"), 2u);
    EXPECT_EQ(view.ColumnIndex(L"NoSuchColumn"), MsiTableView::kNoColumn);
}

TEST(TableView, MissingTableYieldsNoRowsAndTheViewCanBeUsedAgain)
{
    const MsiHandle database = OpenFixture(L"no-tables.msi");
    MsiTableView view(database.Get());
    const wchar_t* columns[] = {L"File", L"FileName", nullptr};
    EXPECT_FALSE(view.LoadTable(L"File", columns));
    EXPECT_FALSE(view.Loaded());
    EXPECT_EQ(view.RowCount(), 0u);
    EXPECT_TRUE(view.ColumnNames().empty());

    EXPECT_TRUE(view.LoadTable(L"Property", nullptr));
    EXPECT_EQ(Cells(view), (std::vector<std::vector<std::wstring>>{{L"ProductName", L"Nothing Here"}}));
}

} // namespace
} // namespace kw
