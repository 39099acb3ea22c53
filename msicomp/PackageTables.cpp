#include "msicomp/PackageTables.h"

#include <algorithm>
#include <climits>
#include <cwctype>
#include <stdexcept>

#include "msicomp/MsiTableView.h"

namespace kw {

namespace {

constexpr const wchar_t* kDirectoryColumns[] = {L"Directory", L"Directory_Parent", L"DefaultDir", nullptr};
constexpr const wchar_t* kRegistryColumns[] = {L"Root", L"Key", L"Name", L"Value", nullptr};
constexpr const wchar_t* kFileColumns[] = {L"File", L"Component_", L"FileName", L"FileSize", nullptr};

// The root names of details; any other root shows its own number.
struct RootName {
    std::wstring_view root;
    const wchar_t* name;
};
constexpr RootName kRootNames[] = {
    {L"-1", L"HKMU"},
    {L"0", L"HKEY_CLASSES_ROOT"},
    {L"1", L"HKEY_CURRENT_USER"},
    {L"2", L"HKEY_LOCAL_MACHINE"},
    {L"3", L"HKEY_USERS"},
};

MsiTableView ReadComponents(MSIHANDLE database)
{
    constexpr const wchar_t* kColumns[] = {L"Component", L"ComponentId", L"Directory_", L"KeyPath", nullptr};
    MsiTableView view(database);
    // A table without one of them is read whole, so that each user can tell whether it has the
    // columns it needs.
    if (!view.LoadTable(L"Component", kColumns) && !view.Loaded())
        view.LoadTable(L"Component", nullptr);
    return view;
}

} // namespace

std::wstring FilePath(std::wstring_view folder, std::wstring_view longName)
{
    std::wstring path;
    path.reserve(folder.size() + 1 + longName.size());
    return path.append(folder).append(1, L'\\').append(longName);
}

std::wstring RegistryRootName(std::wstring_view root)
{
    for (const RootName& entry : kRootNames) {
        if (root == entry.root)
            return entry.name;
    }
    return std::wstring(root);
}

std::wstring RegistryPath(std::wstring_view root, std::wstring_view key)
{
    return RegistryRootName(root).append(1, L'\\').append(key);
}

RowIndex::RowIndex(const MsiTableView& view, size_t column) : next_(view.RowCount(), kEnd)
{
    if (column == MsiTableView::kNoColumn)
        return;
    // Built backwards, so that each key's chain runs in table order.
    first_.reserve(view.RowCount());
    for (size_t row = view.RowCount(); row-- > 0;) {
        auto [entry, added] = first_.try_emplace(view.Value(row, column), row);
        if (!added) {
            next_[row] = entry->second;
            entry->second = row;
        }
    }
}

ComponentTable::ComponentTable(MSIHANDLE database)
    : view_(ReadComponents(database)), key_(view_.ColumnIndex(L"Component")), id_(view_.ColumnIndex(L"ComponentId")),
      folder_(view_.ColumnIndex(L"Directory_")), keyPath_(view_.ColumnIndex(L"KeyPath")),
      index_(view_, Joins(false) ? key_ : MsiTableView::kNoColumn)
{
}

bool ComponentTable::Joins(bool folder) const
{
    return key_ != MsiTableView::kNoColumn && id_ != MsiTableView::kNoColumn &&
        (!folder || folder_ != MsiTableView::kNoColumn);
}

bool ComponentTable::Complete() const { return Joins(true) && keyPath_ != MsiTableView::kNoColumn; }

std::vector<JoinedRow> ComponentTable::Join(const MsiTableView& table, size_t componentColumn) const
{
    std::vector<JoinedRow> joined;
    joined.reserve(table.RowCount());
    for (size_t row = 0; row < table.RowCount(); ++row)
        index_.ForEach(table.Value(row, componentColumn), [&](size_t component) {
            joined.push_back({component, 0, row});
        });
    std::sort(joined.begin(), joined.end());
    return joined;
}

std::vector<JoinedRow> ComponentTable::Join(
    const MsiTableView& table, size_t componentColumn, const MsiTableView& second, size_t secondKey, size_t by) const
{
    const RowIndex secondRows(second, secondKey);
    std::vector<JoinedRow> joined;
    for (size_t row = 0; row < table.RowCount(); ++row)
        index_.ForEach(table.Value(row, componentColumn), [&](size_t component) {
            secondRows.ForEach(table.Value(row, by), [&](size_t match) { joined.push_back({component, match, row}); });
        });
    std::sort(joined.begin(), joined.end());
    return joined;
}

std::int64_t ParseFileSize(std::wstring_view text)
{
    // Saturates one past what an int can hold at either end, so any longer number is out of range.
    constexpr long long kBeyondInt = static_cast<long long>(INT_MAX) + 2;
    size_t pos = 0;
    while (pos < text.size() && std::iswspace(static_cast<wint_t>(text[pos])))
        ++pos;
    const bool negative = pos < text.size() && text[pos] == L'-';
    if (pos < text.size() && (text[pos] == L'-' || text[pos] == L'+'))
        ++pos;
    const size_t firstDigit = pos;
    long long value = 0;
    for (; pos < text.size() && text[pos] >= L'0' && text[pos] <= L'9'; ++pos)
        value = std::min(value * 10 + (text[pos] - L'0'), kBeyondInt);
    if (pos == firstDigit)
        throw std::invalid_argument("invalid stoi argument");
    if (negative)
        value = -value;
    if (value > INT_MAX || value < INT_MIN)
        throw std::out_of_range("stoi argument out of range");
    return value;
}

PackageTables::PackageTables(MSIHANDLE handle, PackageLoadKind loadKind, bool mapTargetDirToAppDir)
    : handle_(handle), mapTargetDirToAppDir_(mapTargetDirToAppDir)
{
    if (loadKind == kLoadEverything)
        LoadRegistry();
    LoadDirectories();
    if (loadKind == kLoadEverything)
        LoadFiles();
}

const std::wstring& PackageTables::FullPathOf(std::wstring_view directoryId) const
{
    static const std::wstring kNone;
    const auto found = fullPathDir_.find(directoryId);
    return found != fullPathDir_.end() ? found->second : kNone;
}

void PackageTables::LoadDirectories()
{
    MsiTableView view(handle_);
    view.LoadTable(L"Directory", kDirectoryColumns);
    for (size_t row = 0; row < view.RowCount(); ++row) {
        const std::wstring_view id = view.Value(row, 0);
        // The table's key is unique in a valid package; of two rows with one id the first counts.
        if (directories_.contains(id))
            continue;
        directories_.emplace(id,
            DirectoryNode{
                std::wstring(id), std::wstring(view.Value(row, 1)), std::wstring(view.Value(row, 2)), nullptr});
    }
    // Parent links only once every node is stored: a parent may come after its child.
    for (auto& [id, node] : directories_) {
        const auto parent = directories_.find(node.parentId);
        node.parent = parent != directories_.end() && !node.parentId.empty() ? &parent->second : nullptr;
    }
    for (const auto& [id, node] : directories_)
        fullPathDir_[id] = ResolveDirectory(node, mapTargetDirToAppDir_);
}

void PackageTables::LoadFiles()
{
    MsiTableView files(handle_);
    files.LoadTable(L"File", kFileColumns);
    const ComponentTable components(handle_);
    if (!components.Joins(true))
        return;
    for (const JoinedRow& joined : components.Join(files, 1)) {
        const std::wstring_view fileName = files.Value(joined.row, 2);
        std::wstring fullPath = FilePath(FullPathOf(components.Folder(joined.component)), LongName(fileName));
        const std::int64_t size = ParseFileSize(files.Value(joined.row, 3));
        // Of two rows with the same full path the first is kept.
        if (!files_.contains(fullPath))
            files_.try_emplace(fullPath, FileEntry{std::wstring(fileName), fullPath, size});
    }
}

void PackageTables::LoadRegistry()
{
    MsiTableView view(handle_);
    view.LoadTable(L"Registry", kRegistryColumns);
    registry_.reserve(view.RowCount());
    for (size_t row = 0; row < view.RowCount(); ++row)
        registry_.push_back(RegistryEntry{std::wstring(view.Value(row, 0)), std::wstring(view.Value(row, 1)),
            std::wstring(view.Value(row, 2)), std::wstring(view.Value(row, 3))});
}

} // namespace kw
