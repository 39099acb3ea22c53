#include "repository/PackageRepository.h"

#include <cwctype>

#include "msicomp/apppaths/AppPaths.h"
#include "os/FileSystem.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

// The levels below a named repository folder that are searched, besides the folder itself.
constexpr int kNamedFolderDepth = 10;

} // namespace

bool MatchesPattern(std::wstring_view name, std::wstring_view pattern)
{
    // Greedy match with one point to come back to after the last '*'.
    size_t n = 0, p = 0, star = std::wstring_view::npos, resume = 0;
    while (n < name.size()) {
        if (p < pattern.size() &&
            (pattern[p] == L'?' ||
                std::towlower(static_cast<wint_t>(pattern[p])) == std::towlower(static_cast<wint_t>(name[n])))) {
            ++n;
            ++p;
        } else if (p < pattern.size() && pattern[p] == L'*') {
            star = p++;
            resume = n;
        } else if (star != std::wstring_view::npos) {
            p = star + 1;
            n = ++resume;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == L'*')
        ++p;
    return p == pattern.size();
}

bool ListFiles(const std::wstring& folder, const std::wstring& pattern, std::vector<std::wstring>& found, int depth)
{
    if (folder.empty() || pattern.empty() || depth < 0)
        return false;
    std::wstring base = folder;
    if (base.back() != kPathSeparator && base.back() != L'/')
        base += kPathSeparator;
    std::vector<FolderEntry> entries;
    if (ListFolder(base, entries)) {
        for (const FolderEntry& entry : entries) {
            if (!entry.isFolder && MatchesPattern(entry.name, pattern))
                found.push_back(base + entry.name);
        }
        for (const FolderEntry& entry : entries) {
            if (entry.isFolder)
                ListFiles(base + entry.name, pattern, found, depth - 1);
        }
    }
    return !found.empty();
}

RepositoryFolder ChooseRepository(const std::wstring& named)
{
    const std::wstring defaultFolder = PathVariable(L"KW_REPOSITORY");
    if (!named.empty() && !EqualsIgnoreCase(named, defaultFolder))
        return {named, kNamedFolderDepth};
    return {defaultFolder, 0};
}

} // namespace kw
