#pragma once
// One query's result held in memory: the value text of every cell, row after row, with the
// columns' names and types. Rules and loaders never walk installer views themselves; they
// find a column's index once per query and read cells by index.
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "msicomp/MsiDatabase.h"
#include "msicomp/MsiQuery.h"
#include "util/strings/TextArena.h"

namespace kw {

inline constexpr const wchar_t* kBinaryDataText = L"{Binary Data}";

class MsiTableView {
public:
    static constexpr size_t kNoColumn = static_cast<size_t>(-1);

    // From a database handle, used and never closed here; 0 gives no rows.
    explicit MsiTableView(MSIHANDLE database);

    // Both answer whether at least one row was read. A missing table or a failing query
    // yields no rows and no error.
    bool LoadTable(const wchar_t* table, const wchar_t* const* columns);
    bool LoadJoin(const MsiJoin& join);

    const std::wstring& Name() const { return name_; }
    const std::vector<std::wstring>& ColumnNames() const { return columnNames_; }
    // The first letter of each column's installer type, lowered: s, l, g, i, v ...
    const std::vector<wchar_t>& ColumnTypes() const { return columnTypes_; }
    // The index of the query's column of that name; kNoColumn when it has none.
    size_t ColumnIndex(std::wstring_view name) const;

    size_t RowCount() const { return columnNames_.empty() ? 0 : cells_.size() / columnNames_.size(); }
    // Integers are decimal text, null integers and null strings empty text, binary cells
    // "{Binary Data}"; a column of a type the program does not read is empty text. Valid as long
    // as the view, or whoever took its text.
    std::wstring_view Value(size_t row, size_t column) const { return cells_[row * columnNames_.size() + column]; }
    // The text of the cells, for a holder that keeps views of them longer than the view lives.
    TextArena TakeText() { return std::move(text_); }

    // The contents of the binary cells, in the order they were read.
    const std::vector<std::string>& Streams() const { return streams_; }
    bool Loaded() const { return loaded_; }

private:
    void Reset();
    bool Run(std::wstring name, const std::wstring& query);
    void ReadColumns();
    void ReadRows();

    MSIHANDLE database_;
    MsiHandle view_;
    std::wstring name_;
    std::vector<std::wstring> columnNames_;
    std::vector<wchar_t> columnTypes_;
    std::vector<std::wstring_view> cells_; // row after row, one cell per column, in text_
    TextArena text_;
    std::vector<std::string> streams_;
    std::wstring buffer_; // reused by every string read of the query
    bool loaded_ = false;
};

} // namespace kw
