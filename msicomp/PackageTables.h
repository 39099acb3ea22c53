#pragma once
// What a package's tables mean beyond their text, written once for the rules and the merge
// modules: directories with their full paths, files by full path, registry entries and keys,
// and the components that rows join on. Every table is read with a plain single-table query
// and joined here: the installer executes a join row by row, in time that grows with the
// product of the tables' sizes.
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "msicomp/DirectoryResolution.h"
#include "msicomp/MsiApi.h"
#include "msicomp/MsiTableView.h"

namespace kw {

// Hashes text of any form alike, so that maps keyed by strings are searched with views.
struct TextHash {
    using is_transparent = void;
    size_t operator()(std::wstring_view text) const { return std::hash<std::wstring_view>()(text); }
};

// A file's full path: its folder's full path, "\", its long name.
std::wstring FilePath(std::wstring_view folder, std::wstring_view longName);

// The name of a registry root as details and merge-module entries show it (HKMU,
// HKEY_CLASSES_ROOT ... for -1 to 3); any other root shows its own number.
std::wstring RegistryRootName(std::wstring_view root);

// A registry key as rules and merge modules compare it: the root's name, "\", the key.
std::wstring RegistryPath(std::wstring_view root, std::wstring_view key);

// The rows of a table that have one key, found by hashing instead of the installer's row by
// row comparison: each key's rows in table order. Keys compare as the installer compares
// them, so empty text (a null cell) matches empty text.
class RowIndex {
public:
    // Indexes the column of the view; the view must outlive the index.
    RowIndex(const MsiTableView& view, size_t column);

    // Calls `visit(row)` for each row whose cell is `key`, in table order.
    template <typename Visit> void ForEach(std::wstring_view key, Visit&& visit) const
    {
        const auto found = first_.find(key);
        for (size_t row = found != first_.end() ? found->second : kEnd; row != kEnd; row = next_[row])
            visit(row);
    }

private:
    static constexpr size_t kEnd = static_cast<size_t>(-1);
    std::unordered_map<std::wstring_view, size_t> first_;
    std::vector<size_t> next_; // the next row of the same key, or kEnd
};

// A row of a table joined with its component, and perhaps with a row of a second table.
struct JoinedRow {
    size_t component;
    size_t second; // 0 without a second table
    size_t row;
    bool operator<(const JoinedRow& other) const
    {
        return std::tie(component, second, row) < std::tie(other.component, other.second, other.row);
    }
};

// A package's Component table, read once, for the rows that name a component: they are joined
// in memory, in the order of the installer's join query that names the row's table, the
// second table and Component (in that order): by the component, then the second table's row,
// then the table's row. The installer orders the results of a join by its tables' rows, the
// last table named first.
class ComponentTable {
public:
    explicit ComponentTable(MSIHANDLE database);

    // Whether rows can join: the table has Component and ComponentId, and with `folder` also
    // Directory_. A query that names a column the table lacks fails, so without them no row
    // joins.
    bool Joins(bool folder) const;
    // Whether the table has every column the component rows of the rules need.
    bool Complete() const;

    size_t Size() const { return view_.RowCount(); }
    std::wstring_view Key(size_t row) const { return view_.Value(row, key_); }
    std::wstring_view Id(size_t row) const { return view_.Value(row, id_); }
    std::wstring_view Folder(size_t row) const { return view_.Value(row, folder_); }
    std::wstring_view KeyPath(size_t row) const { return view_.Value(row, keyPath_); }

    // The rows of `table` whose `componentColumn` names a component, each with its component
    // (every one, should a key be repeated).
    std::vector<JoinedRow> Join(const MsiTableView& table, size_t componentColumn) const;
    // The same, each row also with every row of `second` whose `secondKey` equals its `by`.
    std::vector<JoinedRow> Join(const MsiTableView& table, size_t componentColumn, const MsiTableView& second,
        size_t secondKey, size_t by) const;

private:
    MsiTableView view_;
    size_t key_;
    size_t id_;
    size_t folder_;
    size_t keyPath_;
    RowIndex index_;
};

struct FileEntry {
    std::wstring fileName; // FileName as stored, short and long
    std::wstring fullPath; // FullPathDir of the component's folder, "\", the long name
    std::int64_t size = 0;
};

struct RegistryEntry {
    std::wstring root; // decimal text of the installer's root: -1, 0, 1, 2, 3
    std::wstring key;
    std::wstring name;
    std::wstring value;
};

enum PackageLoadKind : int {
    kLoadEverything = 0, // registry, directories, files
    kLoadDirectories = 1,
};

// FileSize as a base-10 integer, as the standard conversion reads it. Throws the standard
// library's own errors, uncaught on purpose: FileSize is a required integer column.
std::int64_t ParseFileSize(std::wstring_view text);

class PackageTables {
public:
    // Loads at once; `mapTargetDirToAppDir` roots paths under TARGETDIR at APPDIR.
    PackageTables(MSIHANDLE handle, PackageLoadKind loadKind, bool mapTargetDirToAppDir);

    const std::unordered_map<std::wstring, DirectoryNode, TextHash, std::equal_to<>>& Directories() const
    {
        return directories_;
    }
    const std::unordered_map<std::wstring, std::wstring, TextHash, std::equal_to<>>& FullPathDir() const
    {
        return fullPathDir_;
    }
    const std::unordered_map<std::wstring, FileEntry>& Files() const { return files_; }
    const std::vector<RegistryEntry>& Registry() const { return registry_; }

    // The full path of a directory id; empty text for an id that names no directory.
    const std::wstring& FullPathOf(std::wstring_view directoryId) const;

    PackageTables(const PackageTables&) = delete;
    PackageTables& operator=(const PackageTables&) = delete;

private:
    void LoadDirectories();
    void LoadFiles();
    void LoadRegistry();

    MSIHANDLE handle_;
    bool mapTargetDirToAppDir_;
    std::unordered_map<std::wstring, DirectoryNode, TextHash, std::equal_to<>> directories_;
    std::unordered_map<std::wstring, std::wstring, TextHash, std::equal_to<>> fullPathDir_;
    std::unordered_map<std::wstring, FileEntry> files_;
    std::vector<RegistryEntry> registry_;
};

} // namespace kw
