#pragma once
// Installer SQL built from small static descriptions. The texts are exact: the installer's
// dialect is strict about quoting, and rows are keyed by the column names that come back.
#include <string>

#include "msicomp/MsiApi.h"

namespace kw {

struct MsiJoinColumn {
    const wchar_t* name;
    int excluded; // put in the select list only when 0
};

struct MsiJoinTable {
    const wchar_t* name;
    const MsiJoinColumn* columns; // ended by an entry with a null name
};

struct MsiJoinCondition {
    const wchar_t* leftTable;
    const wchar_t* leftColumn;
    const wchar_t* rightTable;
    const wchar_t* rightColumn;
};

struct MsiJoin {
    const MsiJoinTable* tables; // ended by an entry with a null name
    const MsiJoinCondition* conditions; // ended by an entry with a null left table
};

// SELECT `A`,`B` FROM `Table`; "*" without a column list (null-terminated, or null).
std::wstring BuildSelect(const wchar_t* table, const wchar_t* const* columns);

// SELECT `T`.`A`, `U`.`B` FROM `T`, `U` WHERE `T`.`X` = `U`.`Y` AND ...
std::wstring BuildJoin(const MsiJoin& join);

// The files with their components' ids and folders: the installer's join of what the
// package loader reads table by table and joins in memory, in the same order.
extern const MsiJoin kFileComponentJoin;

// One value of the Property table. False when the database handle is 0, the property is
// not there, or it cannot be read; `value` is then untouched.
bool GetPropertyValue(MSIHANDLE database, const std::wstring& property, std::wstring& value);

} // namespace kw
