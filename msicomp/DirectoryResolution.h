#pragma once
// The symbolic full path of a directory: the chain of its names from a standard installer
// folder (or the target root) down to it, never resolved on a machine, so that the folders
// of two packages compare wherever they would be installed. Paths use "\" on every platform.
#include <string>
#include <string_view>

namespace kw {

struct ShortLongName {
    std::wstring shortName;
    std::wstring longName;
};

struct ParsedDefaultDir {
    ShortLongName target;
    ShortLongName source;
};

// "SHORT|Long Name": the short name is empty when there is no bar.
ShortLongName SplitShortLong(std::wstring_view text);
// The long name alone, as a view of the text: the part after "|", or the whole text.
std::wstring_view LongName(std::wstring_view text);
// "target:source", each a short/long pair; without a colon both parts are the whole text.
ParsedDefaultDir ParseDefaultDir(std::wstring_view defaultDir);

struct StandardFolder {
    bool standard = false;
    std::wstring name; // the list entry the id begins with; empty for TARGETDIR
};

// Whether a directory id names a standard installer folder, and which.
StandardFolder IsStandardFolder(std::wstring_view id);

struct DirectoryNode {
    std::wstring id;
    std::wstring parentId;
    std::wstring defaultDir;
    const DirectoryNode* parent = nullptr; // none for a root or a parent id matching no row
};

// The node's full path. With `mapTargetDirToAppDir`, a chain that reaches the directory
// TARGETDIR starts with APPDIR. A walk that comes back to a directory it passed stops there.
std::wstring ResolveDirectory(const DirectoryNode& start, bool mapTargetDirToAppDir);

} // namespace kw
