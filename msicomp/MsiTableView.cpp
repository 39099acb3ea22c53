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

constexpr size_t kDecimalCapacity = 12; // "-2147483648"

// The decimal text of a number, written at the end of `digits`.
std::wstring_view DecimalText(int value, wchar_t (&digits)[kDecimalCapacity])
{
    size_t first = kDecimalCapacity;
    auto magnitude = value < 0 ? 0u - static_cast<unsigned>(value) : static_cast<unsigned>(value);
    do {
        digits[--first] = static_cast<wchar_t>(L'0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (value < 0)
        digits[--first] = L'-';
    return {digits + first, kDecimalCapacity - first};
}

} // namespace

MsiTableView::MsiTableView(MSIHANDLE database) : database_(database) { }

bool MsiTableView::LoadTable(const wchar_t* table, const wchar_t* const* columns)
{
    return Run(table, BuildSelect(table, columns));
}

bool MsiTableView::LoadJoin(const MsiJoin& join) { return Run(L"{JOIN Table}", BuildJoin(join)); }

size_t MsiTableView::ColumnIndex(std::wstring_view name) const
{
    for (size_t i = 0; i < columnNames_.size(); ++i) {
        if (columnNames_[i] == name)
            return i;
    }
    return kNoColumn;
}

void MsiTableView::Reset()
{
    name_.clear();
    columnNames_.clear();
    columnTypes_.clear();
    cells_.clear();
    text_ = TextArena();
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
    // Every row is in memory: the installer's view is no longer needed.
    MsiViewClose(view_.Get());
    view_.Reset();
    return RowCount() != 0;
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
    wchar_t digits[kDecimalCapacity];
    MsiHandle record;
    // The previous record is closed before each fetch (Put), and the last one with its owner.
    while (MsiViewFetch(view_.Get(), record.Put()) == ERROR_SUCCESS) {
        for (size_t i = 0; i < columnNames_.size(); ++i) {
            const UINT field = static_cast<UINT>(i) + 1;
            std::wstring_view& cell = cells_.emplace_back();
            // A column whose type could not be read is not read either.
            switch (i < columnTypes_.size() ? columnTypes_[i] : L'\0') {
            case L'g':
                if (columnNames_[i].empty())
                    break;
                [[fallthrough]];
            case L's':
            case L'l':
                ReadInstallerString([&](wchar_t* buffer,
                                        DWORD* size) { return MsiRecordGetStringW(record.Get(), field, buffer, size); },
                    buffer_, cell);
                cell = text_.Keep(cell);
                break;
            case L'i':
                if (const int value = MsiRecordGetInteger(record.Get(), field); value != kMsiNullInteger)
                    cell = text_.Keep(DecimalText(value, digits));
                break;
            case L'v': {
                DWORD size = 0;
                MsiRecordReadStream(record.Get(), field, nullptr, &size);
                std::string bytes(size, '\0');
                if (size != 0)
                    MsiRecordReadStream(record.Get(), field, bytes.data(), &size);
                bytes.resize(size);
                streams_.push_back(std::move(bytes));
                cell = kBinaryDataText;
                break;
            }
            default: break; // a type the program does not read
            }
        }
    }
}

} // namespace kw
