#pragma once
// One query's result held in memory: rows of column name to value text. Rules and loaders
// never walk installer views themselves.
#include <map>
#include <string>
#include <vector>

#include "msicomp/MsiDatabase.h"
#include "msicomp/MsiQuery.h"

namespace kw {

// One record: column name to value text. Integers are decimal text, null integers and null
// strings empty text, binary cells "{Binary Data}".
using MsiRow = std::map<std::wstring, std::wstring>;

// The value of a column in a row; a column the row does not have reads as empty text.
const std::wstring& ColumnValue(const MsiRow& row, const std::wstring& column);

inline constexpr const wchar_t* kBinaryDataText = L"{Binary Data}";

class MsiTableView {
public:
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
    const std::vector<MsiRow>& Rows() const { return rows_; }
    std::vector<MsiRow>& Rows() { return rows_; }
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
    std::vector<MsiRow> rows_;
    std::vector<std::string> streams_;
    bool loaded_ = false;
};

} // namespace kw
