#include <gtest/gtest.h>

#include <map>

#include "Fixtures.h"
#include "msicomp/DirectoryResolution.h"
#include "msicomp/PackageTables.h"

namespace kw {
namespace {

using PathMap = std::map<std::wstring, std::wstring>;

PathMap FullPaths(bool mapTargetDirToAppDir)
{
    const MsiHandle database = OpenFixture(L"directories.msi");
    const PackageTables tables(database.Get(), kLoadDirectories, mapTargetDirToAppDir);
    return PathMap(tables.FullPathDir().begin(), tables.FullPathDir().end());
}

TEST(DirectoryNames, DefaultDirSplitsAtTheFirstColonThenAtTheFirstBar)
{
    const ParsedDefaultDir both = ParseDefaultDir(L"TARGET|Target Long:SRC|Source Long");
    EXPECT_EQ(both.target.shortName, L"TARGET");
    EXPECT_EQ(both.target.longName, L"Target Long");
    EXPECT_EQ(both.source.shortName, L"SRC");
    EXPECT_EQ(both.source.longName, L"Source Long");

    const ParsedDefaultDir plain = ParseDefaultDir(L"Plain");
    EXPECT_EQ(plain.target.shortName, L"");
    EXPECT_EQ(plain.target.longName, L"Plain");
    EXPECT_EQ(plain.source.longName, L"Plain");

    EXPECT_EQ(SplitShortLong(L"A|B|C").longName, L"B|C");
    EXPECT_EQ(ParseDefaultDir(L"a:b:c").source.longName, L"b:c");
}

TEST(DirectoryNames, StandardFoldersMatchByCaseSensitivePrefixButTargetDirIgnoresCase)
{
    const std::vector<std::pair<std::wstring, StandardFolder>> cases = {
        {L"ProgramFilesFolder", {true, L"ProgramFilesFolder"}},
        {L"DesktopFolder.1", {true, L"DesktopFolder"}},
        {L"SystemFolder64x", {true, L"SystemFolder"}}, // the first entry of the list that matches
        {L"TARGETDIR", {true, L""}},
        {L"TargetDir", {true, L""}},
        {L"TARGETDIR2", {false, L""}},
        {L"programfilesfolder", {false, L""}},
        {L"APPDIR", {false, L""}},
        {L"MYAPPDIR", {false, L""}},
        {L"WindowsFolderAPPDIR", {false, L""}},
    };
    for (const auto& [id, expected] : cases) {
        const StandardFolder folder = IsStandardFolder(id);
        EXPECT_EQ(folder.standard, expected.standard) << id;
        EXPECT_EQ(folder.name, expected.name) << id;
    }
}

TEST(DirectoryResolution, EveryDirectoryOfAPackageResolvesToItsChainOfLongNames)
{
    const std::wstring app = L"ProgramFilesFolder\\Vendor Name\\App";
    const std::wstring long259 = L"ProgramFilesFolder\\" + std::wstring(240, L'a');
    const std::wstring long260 = L"\\\\?\\ProgramFilesFolder\\" + std::wstring(241, L'b');
    PathMap expected = {
        {L"TARGETDIR", L""},
        {L"ProgramFilesFolder", L"ProgramFilesFolder"},
        {L"Vendor", L"ProgramFilesFolder\\Vendor Name"},
        {L"APPDIR", app},
        {L"MyFolder", app + L"\\My Folder"},
        {L"MYAPPDIR", L"ProgramFilesFolder\\MyApp"},
        {L"UnderTarget", L"Under"},
        {L"TargetDir", L""},
        {L"UnderMixedCase", L"Mixed"},
        {L"programfilesfolder", L"pf"},
        {L"DesktopFolder.1", L"DesktopFolder"},
        {L"Shortcuts", L"DesktopFolder\\Links"},
        {L"DotSource", app + L"\\Source"},
        {L"LoneDot", app},
        {L"BothNames", app + L"\\Target Long"},
        {L"EmptyName", app},
        {L"Orphan", L"Orphan"},
        {L"OrphanChild", L"Orphan\\Child"},
        {L"CycleA", L"B\\A"},
        {L"CycleB", L"A\\B"},
        {L"SelfParent", L"Self"},
        {L"Long259", long259},
        {L"Long260", long260},
    };
    EXPECT_EQ(FullPaths(false), expected);

    // Rooted at the application folder: only chains that reach the exact id TARGETDIR change.
    expected[L"TARGETDIR"] = L"APPDIR";
    expected[L"UnderTarget"] = L"APPDIR\\Under";
    expected[L"programfilesfolder"] = L"APPDIR\\pf";
    EXPECT_EQ(FullPaths(true), expected);
}

} // namespace
} // namespace kw
