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

// The fixture below resolves the everyday names; these are the splits and matches it cannot show.
TEST(DirectoryNames, SplitAtTheFirstColonAndBarAndStandardFoldersMatchTheFirstPrefixListed)
{
    EXPECT_EQ(SplitShortLong(L"A|B|C").longName, L"B|C");
    EXPECT_EQ(ParseDefaultDir(L"a:b:c").source.longName, L"b:c");
    EXPECT_EQ(IsStandardFolder(L"SystemFolder64x").name, L"SystemFolder");
    EXPECT_FALSE(IsStandardFolder(L"TARGETDIR2").standard);
    EXPECT_FALSE(IsStandardFolder(L"WindowsFolderAPPDIR").standard);
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
