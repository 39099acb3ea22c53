#pragma once
// The packages that the package under test is compared with: the files of a folder, searched
// in depth, or the default repository that the user keeps.
#include <string>
#include <string_view>
#include <vector>

namespace kw {

// Whether a file name matches a pattern of '*' (any run of characters) and '?' (any one),
// ignoring case, as file searches do.
bool MatchesPattern(std::wstring_view name, std::wstring_view pattern);

// Appends to `found` every file of `folder` that matches `pattern`, in the order the file
// system gives them, then does the same in each subfolder, down to `depth` levels below the
// folder (0: the folder only). Folders are never matched. True when `found` holds any file
// afterwards. A folder that cannot be searched adds nothing.
bool ListFiles(const std::wstring& folder, const std::wstring& pattern, std::vector<std::wstring>& found, int depth);

// A folder of packages and how many levels below it are searched.
struct RepositoryFolder {
    std::wstring folder;
    int depth = 0;
};

// The folder a run takes its packages from: the one the user named (MsiRepo), searched ten
// levels deep; without one, or when it names the default repository (letter case ignored), the
// default repository, whose packages stand directly in its folder.
RepositoryFolder ChooseRepository(const std::wstring& named);

} // namespace kw
