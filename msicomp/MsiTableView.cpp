#include "msicomp/MsiTableView.h"

#include <cwctype>

#include "msicomp/InstallerString.h"

namespace kw {

namespace {

// Column names and type strings are short; they are read in one call each.
constexpr DWORD kColumnInfoCapacity = 255;

std::wstring ReadColumnInfo(MSIHANDLE record, UINT field)
{
    wchar_t buffer[kColumnInfoCapacity + 1] = {};
    DWORD size = kColumnInfoCapacity;
    if (MsiRecordGetStringW(record, field, buffer, &size) != ERROR_SUCCESS)
        return {};
    return std::wstring(buffer, size);
}

std::wstring ReadStringField(MSIHANDLE record, UINT field)
{
    std::wstring text;
    ReadInstallerString(
        [&](wchar_t* buffer, DWORD* size) { return MsiRecordGetStringW(record, field, buffer, size); }, text);
    return text;
}

} // namespace

const std::wstring& ColumnValue(const MsiRow& row, const std::wstring& column)
{
    static const std::wstring kAbsent;
    const auto found = row.find(column);
    return found != row.end() ? found->second : kAbsent;
}

MsiTableView::MsiTableView(MSIHANDLE database) : database_(database) { }

bool MsiTableView::LoadTable(const wchar_t* table, const wchar_t* const* columns)
{
    return Run(table, BuildSelect(table, columns));
}

bool MsiTableView::LoadJoin(const MsiJoin& join) { return Run(L"{JOIN Table}", BuildJoin(join)); }

void MsiTableView::Reset()
{
    name_.clear();
    columnNames_.clear();
    columnTypes_.clear();
    rows_.clear();
    streams_.clear();
    if (view_)
        MsiViewClose(view_.Get());
    view_.Reset();
    loaded_ = false;
}

bool MsiTableView::Run(std::wstring name, const std::wstring& query)
{
    Reset();
    name_ = std::move(name);
    if (database_ == 0)
        return false;
    loaded_ = MsiDatabaseOpenViewW(database_, query.c_str(), view_.Put()) == ERROR_SUCCESS &&
        MsiViewExecute(view_.Get(), 0) == ERROR_SUCCESS;
    if (!loaded_)
        return false;
    ReadColumns();
    ReadRows();
    return !rows_.empty();
}

void MsiTableView::ReadColumns()
{
    MsiHandle names;
    if (MsiViewGetColumnInfo(view_.Get(), MSICOLINFO_NAMES, names.Put()) != ERROR_SUCCESS)
        return;
    const UINT count = MsiRecordGetFieldCount(names.Get());
    for (UINT field = 1; field <= count; ++field)
        columnNames_.push_back(ReadColumnInfo(names.Get(), field));
    names.Reset();

    MsiHandle types;
    if (MsiViewGetColumnInfo(view_.Get(), MSICOLINFO_TYPES, types.Put()) != ERROR_SUCCESS)
        return;
    for (UINT field = 1; field <= count; ++field) {
        const std::wstring type = ReadColumnInfo(types.Get(), field);
        columnTypes_.push_back(type.empty() ? L'\0' : static_cast<wchar_t>(std::towlower(type[0])));
    }
}

void MsiTableView::ReadRows()
{
    MsiHandle record;
    // The previous record is closed before each fetch (Put), and the last one with its owner.
    while (MsiViewFetch(view_.Get(), record.Put()) == ERROR_SUCCESS) {
        MsiRow row;
        for (size_t i = 0; i < columnNames_.size() && i < columnTypes_.size(); ++i) {
            const UINT field = static_cast<UINT>(i) + 1;
            const std::wstring& column = columnNames_[i];
            switch (columnTypes_[i]) {
            case L'g':
                if (column.empty())
                    break;
                [[fallthrough]];
            case L's':
            case L'l': row[column] = ReadStringField(record.Get(), field); break;
            case L'i': {
                const int value = MsiRecordGetInteger(record.Get(), field);
                row[column] = value == kMsiNullInteger ? std::wstring() : std::to_wstring(value);
                break;
            }
            case L'v': {
                DWORD size = 0;
                MsiRecordReadStream(record.Get(), field, nullptr, &size);
                std::string bytes(size, '\0');
                if (size != 0)
                    MsiRecordReadStream(record.Get(), field, bytes.data(), &size);
                bytes.resize(size);
                streams_.push_back(std::move(bytes));
                row[column] = kBinaryDataText;
                break;
            }
            default: break; // a type the program does not read
            }
        }
        rows_.push_back(std::move(row));
    }
}

} // namespace kw
