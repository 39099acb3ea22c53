#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AppPathsSandbox.h"
#include "core/Exception.h"
#include "msicomp/apppaths/AppPaths.h"
#include "os/FileSystem.h"
#include "os/Registry.h"
#include "util/strings/StringSystem.h"

namespace kw {

void AppPathsSandbox::WriteSettingsFile(std::string_view text) const
{
    ASSERT_TRUE(ReplaceFileBytes(application_ / L"kitew.ini", text));
}

void AppPathsSandbox::Rebuild() const { RebuildAppPathsForTests(ApplicationFolder(), SettingsSubkey()); }

namespace {

std::wstring MachineDataFolder()
{
    return JoinPath(ExpandFolderMacro(L"[CommonAppDataFolder]"), {L"Orvanta", L"Kitewright"});
}

std::string Utf8(const std::wstring& text) { return ToUtf8(text); }

TEST(PathVariables, DictionariesOverrideLeavesUserDictionariesAlone)
{
    const AppPathsSandbox sandbox;
    const std::wstring& scratch = sandbox.Scratch().Path();
    sandbox.WriteSettingsFile("[Other]\nDictionaries Folder=/elsewhere\n\n[Folders]\n"
                              "dictionaries folder=" +
        Utf8(JoinPath(scratch, {L"dicts", L""})) + "\nHomeDir=" + Utf8(JoinPath(scratch, {L"home"})) +
        "\nFragments Folder=" + Utf8(JoinPath(scratch, {L"frags"})) + "\nThemes Folder=\n");
    sandbox.Rebuild();

    const std::wstring home = JoinPath(scratch, {L"home"});
    EXPECT_EQ(PathVariable(L"KW_DICTS"), JoinPath(scratch, {L"dicts"}));
    EXPECT_EQ(PathVariable(L"KW_USERDICTS"), JoinPath(MachineDataFolder(), {L"dictionaries"}));
    // HomeDir moves everything built on the home folder, and only that.
    EXPECT_EQ(PathVariable(L"KW_TEMPLATES"), JoinPath(home, {L"templates"}));
    EXPECT_EQ(PathVariable(L"KW_FOO"), home);
    EXPECT_EQ(PathVariable(L"KW_THEMES"), JoinPath(home, {L"themes"})); // empty: the default
    EXPECT_EQ(PathVariable(L"KW_REGISTERED_MSM"), JoinPath(MachineDataFolder(), {L"Merge modules"}));
    // The prerequisites follow the fragments folder wherever it is.
    EXPECT_EQ(PathVariable(L"KW_FRAGS"), JoinPath(scratch, {L"frags"}));
    EXPECT_EQ(PathVariable(L"KW_PREDEFINED_PREREQUISITES"), JoinPath(scratch, {L"frags", L"Prerequisites"}));
}

// The end-to-end cases show a setting kept and one naming the default removed; the default's
// name in another case is still the default.
TEST(RepositoryFolder, SettingThatNamesTheDefaultInAnyCaseIsRemoved)
{
    const AppPathsSandbox sandbox;
    const std::wstring defaultFolder = JoinPath(MachineDataFolder(), {L"Repository"});
    std::wstring upper = defaultFolder;
    for (wchar_t& c : upper)
        c = static_cast<wchar_t>(std::towupper(c));
    SettingsKey key;
    ASSERT_TRUE(key.Open(sandbox.SettingsSubkey(), true));
    ASSERT_TRUE(key.WriteString(L"Repository Path", JoinPath(upper, {L""})));
    sandbox.Rebuild();
    EXPECT_TRUE(EqualsIgnoreCase(PathVariable(L"KW_REPOSITORY"), defaultFolder))
        << Utf8(PathVariable(L"KW_REPOSITORY"));
    SettingsKey reader;
    ASSERT_TRUE(reader.Open(sandbox.SettingsSubkey(), false));
    EXPECT_EQ(reader.ReadString(L"Repository Path"), L"");
}

TEST(FolderMacros, ExpandVariablesAndSystemFoldersButLeaveUnknownOnesAlone)
{
    const AppPathsSandbox sandbox;
    sandbox.Rebuild();
    const std::wstring resources = JoinPath(sandbox.ApplicationFolder(), {L"resources"});
    EXPECT_EQ(ExpandFolderMacro(L"<KW_RES>\\buttons/close.png"), JoinPath(resources, {L"buttons", L"close.png"}));
    EXPECT_EQ(ExpandFolderMacro(L"<KW_RES>"), resources);
    EXPECT_EQ(ExpandFolderMacro(L"[CommonAppDataFolder]Orvanta\\Kitewright"), MachineDataFolder());
    EXPECT_EQ(ExpandFolderMacro(L"<KW_NOT_THERE>x.png"), L"<KW_NOT_THERE>x.png");
    EXPECT_EQ(ExpandFolderMacro(L"[commonappdatafolder]x"), L"[commonappdatafolder]x");
}

std::wstring WriteVariablesFile(const AppPathsSandbox& sandbox, std::string_view text)
{
    std::wstring file = sandbox.Scratch() / L"PathVariables.apf";
    EXPECT_TRUE(ReplaceFileBytes(file, text));
    sandbox.WriteSettingsFile("[Folders]\nPathVariablesFile=" + Utf8(file) + "\n");
    return file;
}

TEST(PathVariablesFile, AddsAndReplacesVariables)
{
    const AppPathsSandbox sandbox;
    WriteVariablesFile(sandbox,
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PathVariables>\n"
        "  <Var Path=\"/data/mine\" Name=\"KW_MINE\"/>\n"
        "  <Var Name=\"KW_TYPED\" Path=\"/t\" Type=\"5\" ContentType=\"3x\"/>\n"
        "  <Other Name=\"KW_OTHER\" Path=\"/o\"/>\n"
        "  <Group><Var Name=\"KW_NESTED\" Path=\"/n\"/></Group>\n"
        "  <Var Name=\"KW_RES\" Path=\"/res\"/>\n"
        "  <Var Name=\"KW_MINE\" Path=\"/data/m\xC3\xAFne\" Type=\"1\"/>\n"
        "</PathVariables>\n");
    sandbox.Rebuild();

    const std::vector<PathVariableEntry> entries = PathVariables();
    ASSERT_EQ(entries.size(), 31u);
    EXPECT_EQ(entries[4], (PathVariableEntry{L"KW_RES", SystemPath(L"/res"), 2, 0})); // replaced where it stood
    EXPECT_EQ(entries[29], (PathVariableEntry{L"KW_MINE", SystemPath(L"/data/m\u00EFne"), 1, 0}));
    EXPECT_EQ(entries[30], (PathVariableEntry{L"KW_TYPED", SystemPath(L"/t"), 5, 3}));
    EXPECT_EQ(PathVariable(L"KW_OTHER"), L"");
    EXPECT_EQ(PathVariable(L"KW_NESTED"), L"");
}

TEST(PathVariablesFile, WrongRootIsRefusedAndMissingFileIgnored)
{
    const AppPathsSandbox sandbox;
    const std::wstring file =
        WriteVariablesFile(sandbox, R"(<?xml version="1.0"?><Variables><Var Name="KW_X" Path="/x"/></Variables>)");
    try {
        sandbox.Rebuild();
        FAIL() << "a wrong root element was accepted";
    } catch (const Exception& error) {
        EXPECT_EQ(error.Message(),
            L"The path variables file " + file + L" is not valid: its root element must be PathVariables.");
    }
    // The built-in variables stay.
    EXPECT_EQ(PathVariable(L"KW_HOME"), sandbox.ApplicationFolder());
    EXPECT_EQ(PathVariable(L"KW_X"), L"");

    ASSERT_TRUE(RemoveFolder(sandbox.Scratch().Path()));
    sandbox.Rebuild();
    EXPECT_EQ(PathVariables().size(), 29u);
}

} // namespace
} // namespace kw
