#include <windows.h>

#include <shlobj.h>

#include "msicomp/apppaths/SystemFolders.h"

namespace kw {

namespace {

struct FolderProperty {
    std::wstring_view name;
    int csidl;
};

constexpr FolderProperty kFolders[] = {
    {L"CommonAppDataFolder", CSIDL_COMMON_APPDATA},
    {L"CommonFilesFolder", CSIDL_PROGRAM_FILES_COMMON},
    {L"LocalAppDataFolder", CSIDL_LOCAL_APPDATA},
};

} // namespace

std::wstring SystemFolder(std::wstring_view property)
{
    for (const FolderProperty& entry : kFolders) {
        if (entry.name != property)
            continue;
        wchar_t folder[MAX_PATH] = {};
        if (FAILED(SHGetFolderPathW(nullptr, entry.csidl, nullptr, SHGFP_TYPE_CURRENT, folder)))
            return {};
        std::wstring path(folder);
        if (path.size() > 3 && path.ends_with(L'\\'))
            path.pop_back();
        return path;
    }
    return {};
}

} // namespace kw
