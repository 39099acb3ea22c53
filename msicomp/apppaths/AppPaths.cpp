#include "msicomp/apppaths/AppPaths.h"

#include <map>
#include <mutex>
#include <optional>

#include "msicomp/apppaths/AppPathsLoader.h"
#include "msicomp/apppaths/SystemFolders.h"
#include "os/FileSystem.h"
#include "os/IniFile.h"
#include "os/Module.h"
#include "os/Registry.h"
#include "util/strings/StringSystem.h"

namespace kw {

namespace {

constexpr std::wstring_view kSettingsSubkey = L"Software\\Orvanta\\Kitewright\\Settings\\";
constexpr std::wstring_view kRepositoryValue = L"Repository Path";
constexpr std::wstring_view kSettingsFile = L"kitew.ini";
constexpr std::wstring_view kOverridesSection = L"Folders";
constexpr int kBuiltInType = 1;

// What a built-in variable's value starts from. The "HomeDir" override reaches every variable
// built on the home folder, and "Fragments Folder" the prerequisites below the fragments.
enum class Base { Home, MachineData, UserData, CommonFiles, Fragments, Repository };

struct BuiltInVariable {
    std::wstring_view name;
    std::wstring_view overrideKey; // an override that replaces the whole value
    Base base;
    std::wstring_view parts[3];
};

constexpr BuiltInVariable kBuiltIns[] = {
    {L"KW_TEMPLATES", {}, Base::Home, {L"templates"}},
    {L"KW_DICTS", L"Dictionaries Folder", Base::Home, {L"dictionaries"}},
    {L"KW_USERDICTS", {}, Base::MachineData, {L"dictionaries"}},
    {L"KW_FRAGS", L"Fragments Folder", Base::Home, {L"fragments"}},
    {L"KW_RES", L"Resources Folder", Base::Home, {L"resources"}},
    {L"KW_STUBS_ROOT", {}, Base::Home, {L"stubs"}},
    {L"KW_STUBS", {}, Base::Home, {L"stubs", L"x86"}},
    {L"KW_STUBS_32U", {}, Base::Home, {L"stubs", L"x86u"}},
    {L"KW_STUBS_64", {}, Base::Home, {L"stubs", L"x64"}},
    {L"KW_STUBS_RES", {}, Base::Home, {L"stubs", L"res"}},
    {L"KW_CUSTACTS_ROOT", {}, Base::Home, {L"custact"}},
    {L"KW_CUSTACTS", {}, Base::Home, {L"custact", L"x86"}},
    {L"KW_CUSTACTS64", {}, Base::Home, {L"custact", L"x64"}},
    {L"KW_HOME", {}, Base::Home, {}},
    {L"KW_HELP", L"Help Folder", Base::Home, {}},
    // Deliberately kept under this name: the sibling tools look it up as it stands.
    {L"KW_FOO", {}, Base::Home, {}},
    {L"KW_REPACK_HOME", {}, Base::UserData, {L"Orvanta", L"Kitewright", L"repackager"}},
    {L"KW_REPACK_DEFAULT_PROFILES", L"Repackager Profiles Folder", Base::Home, {L"profiles", L"repackager"}},
    {L"KW_THEMES", L"Themes Folder", Base::Home, {L"themes"}},
    {L"KW_THIRD_PARTY_BIN", L"Third Party Bin Folder", Base::Home, {L"third-party"}},
    {L"KW_HTML_RES", L"HTML Resources Folder", Base::Home, {L"resources", L"uihtml.dat"}},
    {L"KW_REPOSITORY", {}, Base::Repository, {}},
    {L"KW_PREDEFINED_PREREQUISITES", {}, Base::Fragments, {L"Prerequisites"}},
    {L"KW_REGISTERED_PREREQUISITES", {}, Base::MachineData, {L"Prerequisites"}},
    {L"KW_REGISTERED_MSM", {}, Base::MachineData, {L"Merge modules"}},
    {L"KW_VISUAL_STUDIO_MSM", {}, Base::CommonFiles, {L"Merge modules"}},
    {L"KW_SCCM_CONFIGS", L"SCCM Configs Folder", Base::Home, {L"profiles", L"sccm"}},
    {L"KW_SCRIPTS", L"Scripts Folder", Base::Home, {L"scripts"}},
    {L"KW_OSPROVISION", L"OS Provision Folder", Base::Home, {L"osprovision"}},
};

bool IsSeparator(wchar_t c) { return c == kPathSeparator || (kPathSeparator == L'\\' && c == L'/'); }

std::wstring Join(std::wstring folder, std::wstring_view part)
{
    if (part.empty())
        return folder;
    if (!folder.empty() && !IsSeparator(folder.back()))
        folder += kPathSeparator;
    return folder + std::wstring(part);
}

struct State {
    std::mutex mutex;
    bool built = false;
    std::wstring applicationFolder; // empty: the executable's
    std::wstring settingsSubkey{kSettingsSubkey};
    std::vector<PathVariableEntry> entries;
};

State& TheState()
{
    static State state;
    return state;
}

void Enter(std::vector<PathVariableEntry>& entries, PathVariableEntry entry)
{
    for (PathVariableEntry& existing : entries) {
        if (existing.name == entry.name) {
            existing = std::move(entry);
            return;
        }
    }
    entries.push_back(std::move(entry));
}

// The overrides of kitew.ini; an absent file has none.
class Overrides {
public:
    explicit Overrides(const std::wstring& applicationFolder)
    {
        std::string text;
        if (ReadFileBytes(Join(applicationFolder, kSettingsFile), text))
            ini_ = IniFile(text);
    }

    // The value, or nothing when it is absent or empty.
    std::optional<std::wstring> Find(std::wstring_view key) const
    {
        std::optional<std::wstring> value = ini_.Value(kOverridesSection, key);
        if (!value || value->empty())
            return std::nullopt;
        return value;
    }

private:
    IniFile ini_;
};

std::wstring MachineDataFolder() { return Join(Join(SystemFolder(L"CommonAppDataFolder"), L"Orvanta"), L"Kitewright"); }

// The repository folder from the settings; a value naming the default folder is removed,
// so that the settings hold it only while it differs and a moved default is followed.
std::wstring RepositoryFolder(const std::wstring& settingsSubkey)
{
    const std::wstring defaultFolder = NormaliseFolderPath(Join(MachineDataFolder(), L"Repository"));
    SettingsKey key;
    const bool open = key.Open(settingsSubkey, true);
    const std::wstring value = open ? key.ReadString(kRepositoryValue) : std::wstring();
    std::wstring folder = value.empty() ? defaultFolder : NormaliseFolderPath(value);
    if (open && EqualsIgnoreCase(folder, defaultFolder))
        key.DeleteValue(kRepositoryValue);
    return folder;
}

std::vector<PathVariableEntry> BuiltInVariables(const State& state, const Overrides& overrides)
{
    const std::wstring application = state.applicationFolder.empty() ? ExecutableFolder() : state.applicationFolder;
    // Not const: the folder function below hands out copies of them.
    std::wstring home = NormaliseFolderPath(overrides.Find(L"HomeDir").value_or(application));
    std::wstring fragments =
        NormaliseFolderPath(overrides.Find(L"Fragments Folder").value_or(Join(home, L"fragments")));
    const auto baseFolder = [&](Base base) {
        switch (base) {
        case Base::Home: return home;
        case Base::MachineData: return MachineDataFolder();
        case Base::UserData: return SystemFolder(L"LocalAppDataFolder");
        case Base::CommonFiles: return SystemFolder(L"CommonFilesFolder");
        case Base::Fragments: return fragments;
        case Base::Repository: return RepositoryFolder(state.settingsSubkey);
        }
        return std::wstring();
    };
    std::vector<PathVariableEntry> entries;
    for (const BuiltInVariable& variable : kBuiltIns) {
        std::optional<std::wstring> path;
        if (!variable.overrideKey.empty())
            path = overrides.Find(variable.overrideKey);
        if (!path) {
            path = baseFolder(variable.base);
            for (std::wstring_view part : variable.parts)
                path = Join(std::move(*path), part);
        }
        Enter(entries, {std::wstring(variable.name), NormaliseFolderPath(*path), kBuiltInType, 0});
    }
    return entries;
}

void Build(State& state)
{
    state.built = true;
    const Overrides overrides(state.applicationFolder.empty() ? ExecutableFolder() : state.applicationFolder);
    state.entries = BuiltInVariables(state, overrides);
    const std::wstring file =
        overrides.Find(L"PathVariablesFile").value_or(Join(MachineDataFolder(), L"PathVariables.apf"));
    for (PathVariableEntry& entry : ReadPathVariablesFile(file))
        Enter(state.entries, std::move(entry));
}

// The folder that a macro name stands for: a variable of the table, else a system folder.
std::optional<std::wstring> MacroFolder(std::wstring_view name)
{
    const std::vector<PathVariableEntry> entries = PathVariables();
    for (const PathVariableEntry& entry : entries) {
        if (entry.name == name)
            return entry.path;
    }
    std::wstring folder = SystemFolder(name);
    if (folder.empty())
        return std::nullopt;
    return folder;
}

} // namespace

std::wstring NormaliseFolderPath(std::wstring_view path)
{
    std::wstring text(path);
    if (kPathSeparator == L'\\') {
        if (text.starts_with(L"\\\\?\\UNC\\"))
            text = L"\\\\" + text.substr(8);
        else if (text.starts_with(L"\\\\?\\"))
            text.erase(0, 4);
        for (wchar_t& c : text) {
            if (c == L'/')
                c = L'\\';
        }
    }
    // The root stays as it is: "/", "\\" of a UNC path, "C:\" or "C:".
    std::wstring root;
    size_t start = 0;
    if (kPathSeparator == L'\\' && text.size() >= 2 && text[1] == L':') {
        start = 2;
    }
    if (kPathSeparator == L'\\' && start == 0 && text.starts_with(L"\\\\"))
        start = 2;
    else if (start < text.size() && text[start] == kPathSeparator)
        ++start;
    root = text.substr(0, start);
    std::vector<std::wstring> parts;
    size_t position = start;
    while (position <= text.size()) {
        size_t end = text.find(kPathSeparator, position);
        if (end == std::wstring::npos)
            end = text.size();
        const std::wstring part = text.substr(position, end - position);
        if (part == L"..") {
            if (!parts.empty() && parts.back() != L"..")
                parts.pop_back();
            else if (root.empty())
                parts.push_back(part);
        } else if (!part.empty() && part != L".") {
            parts.push_back(part);
        }
        position = end + 1;
    }
    std::wstring result = root;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i > 0)
            result += kPathSeparator;
        result += parts[i];
    }
    return SystemPath(result);
}

void InitialiseAppPaths()
{
    State& state = TheState();
    const std::lock_guard lock(state.mutex);
    if (!state.built)
        Build(state);
}

std::wstring PathVariable(std::wstring_view name)
{
    InitialiseAppPaths();
    State& state = TheState();
    const std::lock_guard lock(state.mutex);
    for (const PathVariableEntry& entry : state.entries) {
        if (entry.name == name)
            return entry.path;
    }
    return {};
}

std::vector<PathVariableEntry> PathVariables()
{
    InitialiseAppPaths();
    State& state = TheState();
    const std::lock_guard lock(state.mutex);
    return state.entries;
}

void SetPathVariable(PathVariableEntry entry)
{
    InitialiseAppPaths();
    State& state = TheState();
    const std::lock_guard lock(state.mutex);
    Enter(state.entries, std::move(entry));
}

std::wstring ExpandFolderMacro(std::wstring_view reference)
{
    if (reference.empty())
        return {};
    const wchar_t close = reference.front() == L'<' ? L'>' : reference.front() == L'[' ? L']' : L'\0';
    const size_t end = close != L'\0' ? reference.find(close) : std::wstring_view::npos;
    if (end == std::wstring_view::npos)
        return std::wstring(reference);
    const std::optional<std::wstring> folder = MacroFolder(reference.substr(1, end - 1));
    if (!folder)
        return std::wstring(reference);
    std::wstring rest(reference.substr(end + 1));
    for (wchar_t& c : rest) {
        if (c == L'\\' || c == L'/')
            c = kPathSeparator;
    }
    while (!rest.empty() && rest.front() == kPathSeparator)
        rest.erase(0, 1);
    return Join(*folder, rest);
}

void RebuildAppPathsForTests(const std::wstring& applicationFolder, const std::wstring& settingsSubkey)
{
    State& state = TheState();
    const std::lock_guard lock(state.mutex);
    state.applicationFolder = applicationFolder;
    state.settingsSubkey = settingsSubkey;
    state.entries.clear();
    Build(state);
}

} // namespace kw
