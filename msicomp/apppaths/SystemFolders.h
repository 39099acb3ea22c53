#pragma once
// The machine's folders that Windows Installer folder properties name. Windows asks the
// shell; POSIX maps them to the XDG base directories: CommonAppDataFolder and
// CommonFilesFolder to the first of $XDG_DATA_DIRS (/usr/local/share without it),
// LocalAppDataFolder to $XDG_DATA_HOME (~/.local/share without it).
#include <string>
#include <string_view>

namespace kw {

// The folder, without a trailing separator; empty text for a property it does not know
// (names compared exactly, as the installer does) or a folder the system cannot tell.
std::wstring SystemFolder(std::wstring_view property);

} // namespace kw
