#pragma once
// File operations of the host with long-path handling. Windows refuses paths of MAX_PATH
// (260) characters or more unless they take the "\\?\" form, which the operations here
// switch to by themselves; POSIX uses its paths as they are. A failure is reported as false,
// and the system error, numbered as Win32 numbers it on every platform, says why
// (LastSystemError: 2 file not found, 3 path not found, 5 access denied, ...).
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kw {

// The host's path separator: "\" on Windows, "/" on POSIX.
extern const wchar_t kPathSeparator;

// Paths of this many characters or more need the long form on Windows.
inline constexpr std::size_t kLongPathLength = 260;

// The Windows long form of a path: "\\?\" + path when it has 260 characters or more and does
// not begin with "\\?\" already; a long UNC path "\\server\share\..." becomes
// "\\?\UNC\server\share\...", the only long form Windows accepts for it. Shorter paths are
// returned as they are. The same text on every platform.
std::wstring WithLongPathPrefix(std::wstring_view path);

// The path as the host's file functions take it: the long form on Windows, unchanged on POSIX.
std::wstring SystemPath(std::wstring_view path);

// Whether a file or folder exists at the path.
bool PathExists(const std::wstring& path);

struct FolderEntry {
    std::wstring name;
    bool isFolder = false; // a folder, or a link to one

    bool operator==(const FolderEntry&) const = default;
};

// The entries of a folder ("\*": every name but "." and ".."), in the order the system gives
// them. An empty folder gives true and no entries.
bool ListFolder(const std::wstring& folder, std::vector<FolderEntry>& entries);

// Creates the folder and every missing folder above it; true when it exists afterwards.
bool CreateFolders(const std::wstring& folder);

// Removes the folder with everything in it. Links inside it are removed, never followed.
// Stops at the first entry that cannot be removed.
bool RemoveFolder(const std::wstring& folder);

// The whole content of a file.
bool ReadFileBytes(const std::wstring& path, std::string& bytes);

// Replaces the content of a file so that a failure or a crash at any moment leaves either the
// old file or the new one, never a part: the bytes go to a temporary file beside it, which is
// flushed to the disk and then renamed over the file.
bool ReplaceFileBytes(const std::wstring& path, std::string_view bytes);

} // namespace kw
