#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>
#include <vector>

#include "msicomp/apppaths/SystemFolders.h"
#include "os/posix/HomeFolder_posix.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

std::wstring WithoutTrailingSlash(std::string_view folder)
{
    while (folder.size() > 1 && folder.ends_with('/'))
        folder.remove_suffix(1);
    return FromUtf8(folder);
}

// The XDG base-directory rules ignore relative entries, as if they were not there.
std::wstring FirstDataFolder()
{
    const char* list = std::getenv("XDG_DATA_DIRS");
    std::string_view folders = list != nullptr ? list : "";
    while (!folders.empty()) {
        const size_t colon = folders.find(':');
        const std::string_view folder = folders.substr(0, colon);
        if (folder.starts_with('/'))
            return WithoutTrailingSlash(folder);
        folders = colon == std::string_view::npos ? std::string_view() : folders.substr(colon + 1);
    }
    return L"/usr/local/share";
}

std::wstring UserDataFolder()
{
    const char* data = std::getenv("XDG_DATA_HOME");
    if (data != nullptr && data[0] == '/')
        return WithoutTrailingSlash(data);
    return HomeFolder() + L"/.local/share";
}

struct FolderProperty {
    std::wstring_view name;
    std::wstring (*folder)();
};

constexpr FolderProperty kFolders[] = {
    {L"CommonAppDataFolder", FirstDataFolder},
    {L"CommonFilesFolder", FirstDataFolder},
    {L"LocalAppDataFolder", UserDataFolder},
};

} // namespace

std::wstring SystemFolder(std::wstring_view property)
{
    for (const FolderProperty& entry : kFolders) {
        if (entry.name == property)
            return entry.folder();
    }
    return {};
}

} // namespace kw
