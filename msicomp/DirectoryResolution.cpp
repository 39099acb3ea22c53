#include "msicomp/DirectoryResolution.h"

#include <unordered_set>

#include "os/FileSystem.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

// In this order: the first entry that an id begins with names its folder.
constexpr const wchar_t* kStandardFolders[] = {
    L"WindowsFolder",
    L"SystemFolder",
    L"System16Folder",
    L"System32Folder",
    L"WindowsVolume",
    L"TempFolder",
    L"ProgramFilesFolder",
    L"CommonFilesFolder",
    L"System64Folder",
    L"ProgramFiles64Folder",
    L"CommonFiles64Folder",
    L"StartMenuFolder",
    L"ProgramMenuFolder",
    L"StartupFolder",
    L"NetHoodFolder",
    L"PersonalFolder",
    L"SendToFolder",
    L"DesktopFolder",
    L"TemplateFolder",
    L"FontsFolder",
    L"FavoritesFolder",
    L"RecentFolder",
    L"AppDataFolder",
    L"PrintHoodFolder",
    L"AdminToolsFolder",
    L"CommonAppDataFolder",
    L"LocalAppDataFolder",
    L"MyPicturesFolder",
    L"TARGETDIR",
    L"SHORTCUTDIR",
    L"APPDIR",
    L"PublicFolder",
    L"PublicDocumentsFolder",
    L"WindowsLibrariesFolder",
    L"IIsWWWRootFolder",
};

// Prepends one component; "." and empty components add no level.
void Prepend(std::wstring& path, const std::wstring& component)
{
    if (component.empty() || component == L".")
        return;
    path = path.empty() ? component : component + L"\\" + path;
}

} // namespace

ShortLongName SplitShortLong(std::wstring_view text)
{
    const size_t bar = text.find(L'|');
    if (bar == std::wstring_view::npos)
        return {std::wstring(), std::wstring(text)};
    return {std::wstring(text.substr(0, bar)), std::wstring(text.substr(bar + 1))};
}

std::wstring_view LongName(std::wstring_view text)
{
    const size_t bar = text.find(L'|');
    return bar == std::wstring_view::npos ? text : text.substr(bar + 1);
}

ParsedDefaultDir ParseDefaultDir(std::wstring_view defaultDir)
{
    const size_t colon = defaultDir.find(L':');
    if (colon == std::wstring_view::npos)
        return {SplitShortLong(defaultDir), SplitShortLong(defaultDir)};
    return {SplitShortLong(defaultDir.substr(0, colon)), SplitShortLong(defaultDir.substr(colon + 1))};
}

StandardFolder IsStandardFolder(std::wstring_view id)
{
    // The application folder is always resolved through its parents, so "APPDIR" anywhere in
    // an id (and the list entry APPDIR itself) never counts.
    if (id.find(L"APPDIR") != std::wstring_view::npos)
        return {};
    for (const wchar_t* entry : kStandardFolders) {
        const std::wstring_view folder = entry;
        if (folder == L"TARGETDIR") {
            // The only entry compared without case; it names no folder of its own.
            if (EqualsIgnoreCase(id, folder))
                return {true, std::wstring()};
        } else if (id.starts_with(folder)) {
            return {true, std::wstring(folder)};
        }
    }
    return {};
}

std::wstring ResolveDirectory(const DirectoryNode& start, bool mapTargetDirToAppDir)
{
    std::wstring path;
    std::unordered_set<const DirectoryNode*> visited;
    for (const DirectoryNode* node = &start; node != nullptr && visited.insert(node).second; node = node->parent) {
        // Case-sensitive on purpose, unlike the standard-folder test: TargetDir is the target
        // root but is not rooted at the application folder.
        if (mapTargetDirToAppDir && node->id == L"TARGETDIR")
            Prepend(path, L"APPDIR");
        const ParsedDefaultDir parsed = ParseDefaultDir(node->defaultDir);
        if (const StandardFolder folder = IsStandardFolder(node->id); folder.standard) {
            Prepend(path, folder.name);
            break;
        }
        Prepend(path, parsed.target.longName == L"." ? parsed.source.longName : parsed.target.longName);
    }
    // Joined as the platform's paths are: a long one takes the "\\?\" form.
    return WithLongPathPrefix(path);
}

} // namespace kw
