#include "msicomp/MsiQuery.h"

#include "msicomp/InstallerString.h"
#include "msicomp/MsiHandle.h"

namespace kw {

namespace {

std::wstring Quoted(const wchar_t* name) { return L"`" + std::wstring(name) + L"`"; }

constexpr MsiJoinColumn kFileColumns[] = {
    {L"File", 0}, {L"Component_", 0}, {L"FileName", 0}, {L"FileSize", 0}, {nullptr, 0}};
constexpr MsiJoinColumn kComponentColumns[] = {{L"ComponentId", 0}, {L"Directory_", 0}, {nullptr, 0}};
constexpr MsiJoinTable kFileComponentTables[] = {
    {L"File", kFileColumns}, {L"Component", kComponentColumns}, {nullptr, nullptr}};
constexpr MsiJoinCondition kFileComponentConditions[] = {
    {L"File", L"Component_", L"Component", L"Component"}, {nullptr, nullptr, nullptr, nullptr}};

} // namespace

const MsiJoin kFileComponentJoin = {kFileComponentTables, kFileComponentConditions};

std::wstring BuildSelect(const wchar_t* table, const wchar_t* const* columns)
{
    std::wstring query = L"SELECT ";
    if (columns == nullptr) {
        query += L"*";
    } else {
        // An empty list leaves two blanks before FROM; no caller passes one.
        for (const wchar_t* const* column = columns; *column != nullptr; ++column) {
            if (column != columns)
                query += L",";
            query += Quoted(*column);
        }
    }
    return query + L" FROM " + Quoted(table);
}

std::wstring BuildJoin(const MsiJoin& join)
{
    std::wstring select;
    std::wstring tables = L" FROM ";
    for (const MsiJoinTable* table = join.tables; table->name != nullptr; ++table) {
        if (table != join.tables)
            tables += L", ";
        tables += Quoted(table->name);
        for (const MsiJoinColumn* column = table->columns; column->name != nullptr; ++column) {
            if (column->excluded != 0)
                continue;
            if (!select.empty())
                select += L", ";
            select += Quoted(table->name) + L"." + Quoted(column->name);
        }
    }
    if (select.empty())
        select = L"* ";
    std::wstring query = L"SELECT " + select + tables + L" WHERE ";
    for (const MsiJoinCondition* condition = join.conditions; condition->leftTable != nullptr; ++condition) {
        if (condition != join.conditions)
            query += L" AND ";
        query += Quoted(condition->leftTable) + L"." + Quoted(condition->leftColumn) + L" = " +
            Quoted(condition->rightTable) + L"." + Quoted(condition->rightColumn);
    }
    return query;
}

bool GetPropertyValue(MSIHANDLE database, const std::wstring& property, std::wstring& value)
{
    if (database == 0)
        return false;
    // Property names never hold a quote, so the name goes in as it is.
    const std::wstring query = L"SELECT `Value` FROM `Property` WHERE `Property` = '" + property + L"'";
    MsiHandle view;
    MsiHandle record;
    if (MsiDatabaseOpenViewW(database, query.c_str(), view.Put()) != ERROR_SUCCESS ||
        MsiViewExecute(view.Get(), 0) != ERROR_SUCCESS || MsiViewFetch(view.Get(), record.Put()) != ERROR_SUCCESS)
        return false;
    std::wstring text;
    if (ReadInstallerString(
            [&](wchar_t* buffer, DWORD* size) { return MsiRecordGetStringW(record.Get(), 1, buffer, size); }, text) !=
        ERROR_SUCCESS)
        return false;
    value = std::move(text);
    return true;
}

} // namespace kw
