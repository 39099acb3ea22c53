#pragma once
// The process-wide table of named path variables (KW_RES, KW_HELP, KW_REPOSITORY, ...): every
// data folder of the program is found through it, never through a literal path.
//
// The built-in variables come from the home folder (the application folder, or the "HomeDir"
// override), the per-machine data folder ("[CommonAppDataFolder]" + Orvanta + Kitewright) and
// the overrides of "kitew.ini" beside the executable. That file has one section, "[Folders]",
// of "name=value" lines, read as the settings file is (os/IniFile.h: names ignore case, "%"
// and two hexadecimal digits stand for a byte):
//
//   [Folders]
//   HomeDir=D:\Kitewright
//   Dictionaries Folder=\\server\dictionaries
//   PathVariablesFile=D:\Kitewright\PathVariables.apf
//
// An empty or absent override means the default. KW_REPOSITORY is the settings value
// "Repository Path", or the per-machine data folder + "Repository". Then the user's
// PathVariables.apf adds or replaces variables.
#include <string>
#include <string_view>
#include <vector>

namespace kw {

struct PathVariableEntry {
    std::wstring name;
    std::wstring path;
    int type = 1; // 1 for the built-in variables, 2 by default for those of PathVariables.apf
    int contentType = 0;

    bool operator==(const PathVariableEntry&) const = default;
};

// Fills the table once per process: the built-in variables, then the user's
// PathVariables.apf. Later calls do nothing. Throws when PathVariables.apf is malformed; the
// built-in variables stay in the table then.
void InitialiseAppPaths();

// The path of a variable; empty text for a name the table does not have. Initialises the
// table on first use.
std::wstring PathVariable(std::wstring_view name);

// Every variable, in the order it was first entered.
std::vector<PathVariableEntry> PathVariables();

// Enters a variable; one of the same name (compared exactly) is replaced where it stands.
void SetPathVariable(PathVariableEntry entry);

// Expands a reference such as "<KW_HELP>kitew.chm" (a variable in angle brackets and a
// relative part) or "[CommonAppDataFolder]Orvanta" (a system folder macro, in square or
// angle brackets) into a path: the folder joined with the relative part, whose "\" and "/"
// become the host's separator. A reference without a known macro is returned as it is.
std::wstring ExpandFolderMacro(std::wstring_view reference);

// The folder path as the table keeps it: the host's separators, no "." parts, ".." taken
// out, no doubled or trailing separator, and the long form where Windows needs it.
std::wstring NormaliseFolderPath(std::wstring_view path);

// Test seam: rebuilds the table as a new process would, with kitew.ini read from
// `applicationFolder` instead of the executable's folder and the repository setting read
// from `settingsSubkey` under HKEY_CURRENT_USER, so that tests never touch the real ones.
void RebuildAppPathsForTests(const std::wstring& applicationFolder, const std::wstring& settingsSubkey);

} // namespace kw
