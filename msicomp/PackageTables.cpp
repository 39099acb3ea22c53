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

} // namespace

std::int64_t ParseFileSize(const std::wstring& text)
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

const std::wstring& PackageTables::FullPathOf(const std::wstring& directoryId) const
{
    static const std::wstring kNone;
    const auto found = fullPathDir_.find(directoryId);
    return found != fullPathDir_.end() ? found->second : kNone;
}

void PackageTables::LoadDirectories()
{
    MsiTableView view(handle_);
    view.LoadTable(L"Directory", kDirectoryColumns);
    for (const MsiRow& row : view.Rows()) {
        const std::wstring& id = ColumnValue(row, L"Directory");
        directories_.try_emplace(
            id, DirectoryNode{id, ColumnValue(row, L"Directory_Parent"), ColumnValue(row, L"DefaultDir"), nullptr});
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
    MsiTableView view(handle_);
    view.LoadJoin(kFileComponentJoin);
    for (const MsiRow& row : view.Rows()) {
        const std::wstring& fileName = ColumnValue(row, L"FileName");
        const ShortLongName names = SplitShortLong(fileName);
        std::wstring fullPath = FullPathOf(ColumnValue(row, L"Directory_")) + L"\\" + names.longName;
        const std::int64_t size = ParseFileSize(ColumnValue(row, L"FileSize"));
        // Of two rows with the same full path the first is kept.
        files_.try_emplace(fullPath, FileEntry{fileName, fullPath, size});
    }
}

void PackageTables::LoadRegistry()
{
    MsiTableView view(handle_);
    view.LoadTable(L"Registry", kRegistryColumns);
    for (const MsiRow& row : view.Rows())
        registry_.push_back(RegistryEntry{ColumnValue(row, L"Root"), ColumnValue(row, L"Key"),
            ColumnValue(row, L"Name"), ColumnValue(row, L"Value")});
}

} // namespace kw
