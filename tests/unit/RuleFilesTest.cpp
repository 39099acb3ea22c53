#include "RuleTestSupport.h"

namespace kw {
namespace {

// rules-files-b.msi names the folders of rules-files-a.msi under other directory ids (they
// still match), has one folder in other letter case (it does not), repeats component ids
// and files, and leaves cells null.

TEST(ComponentRules, FoldersFilesAndKeyPathsAreComparedPerComponentIdOnceEach)
{
    FixturePackage a(L"rules-files-a.msi");
    FixturePackage b(L"rules-files-b.msi");
    // CR1: a folder in other letter case is another folder; ids in other letter case are
    // other components. Two rows of a component id on each side are both compared with the
    // first repository row. CR2: the component that two rows carry is examined once.
    // CR18: null key paths in one folder match like any other value.
    EXPECT_EQ(RunRules(a, b, {L"CR1", L"CR2", L"CR18"}),
        (std::vector<ExpectedFinding>{
            {L"CR1",
                L"Component {C0000002-0000-4000-8000-000000000002}\n"
                L"  \"Alder Tools\" rules-files-a.msi: component Tools, folder ProgramFilesFolder\\App\\bin\n"
                L"  \"Birch Suite\" rules-files-b.msi: component BTools, folder ProgramFilesFolder\\App\\BIN"},
            {L"CR1",
                L"Component {C0000006-0000-4000-8000-000000000006}\n"
                L"  \"Alder Tools\" rules-files-a.msi: component Dup1, folder ProgramFilesFolder\\App\\bin\n"
                L"  \"Birch Suite\" rules-files-b.msi: component BDup1, folder ProgramFilesFolder\\App\\conf"},
            {L"CR2",
                L"Component {C0000001-0000-4000-8000-000000000001}, file app.ini\n"
                L"  \"Birch Suite\" rules-files-b.msi: installs it with component BCore\n"
                L"  \"Alder Tools\" rules-files-a.msi: does not install it"},
            {L"CR2",
                L"Component {C0000001-0000-4000-8000-000000000001}, file license.txt\n"
                L"  \"Birch Suite\" rules-files-b.msi: installs it with component BCore\n"
                L"  \"Alder Tools\" rules-files-a.msi: does not install it"},
            {L"CR2",
                L"Component {C0000001-0000-4000-8000-000000000001}, file readme.txt\n"
                L"  \"Alder Tools\" rules-files-a.msi: installs it with component Core\n"
                L"  \"Birch Suite\" rules-files-b.msi: does not install it"},
            {L"CR2",
                L"Component {C0000002-0000-4000-8000-000000000002}, file data.bin\n"
                L"  \"Alder Tools\" rules-files-a.msi: installs it with component Tools\n"
                L"  \"Birch Suite\" rules-files-b.msi: does not install it"},
            {L"CR2",
                L"Component {C0000006-0000-4000-8000-000000000006}, file dup.txt\n"
                L"  \"Alder Tools\" rules-files-a.msi: installs it with component Dup1\n"
                L"  \"Birch Suite\" rules-files-b.msi: does not install it"},
            {L"CR18",
                L"Key path ToolExe in folder ProgramFilesFolder\\App\\bin\n"
                L"  \"Alder Tools\" rules-files-a.msi: component Tools {C0000002-0000-4000-8000-000000000002}\n"
                L"  \"Birch Suite\" rules-files-b.msi: component Other {C0000009-0000-4000-8000-000000000009}"},
            {L"CR18",
                L"Key path  in folder ProgramFilesFolder\\App\\conf\n"
                L"  \"Alder Tools\" rules-files-a.msi: component Config {C0000004-0000-4000-8000-000000000004}\n"
                L"  \"Birch Suite\" rules-files-b.msi: component BDup1 {C0000006-0000-4000-8000-000000000006}"},
            {L"CR18",
                L"Key path  in folder ProgramFilesFolder\\App\\conf\n"
                L"  \"Alder Tools\" rules-files-a.msi: component NoId \n"
                L"  \"Birch Suite\" rules-files-b.msi: component BDup1 {C0000006-0000-4000-8000-000000000006}"},
        }));
}

TEST(FileRules, SameFileIsComparedByComponentVersionAndDetailsOncePerRow)
{
    FixturePackage a(L"rules-files-a.msi");
    FixturePackage b(L"rules-files-b.msi");
    // CR3: tool.exe in bin and in BIN are different files. CR4: versions 1.0 and 1.00 differ,
    // as texts. CR16: tool.exe, from another component but alike in size, version and
    // language, is no finding; null versions are equal.
    EXPECT_EQ(RunRules(a, b, {L"CR3", L"CR4", L"CR16"}),
        (std::vector<ExpectedFinding>{
            {L"CR3",
                L"File ProgramFilesFolder\\App\\bin\\data.bin\n"
                L"  \"Alder Tools\" rules-files-a.msi: component Tools {C0000002-0000-4000-8000-000000000002}\n"
                L"  \"Birch Suite\" rules-files-b.msi: component Other {C0000009-0000-4000-8000-000000000009}"},
            {L"CR3",
                L"File ProgramFilesFolder\\App\\bin\\dup.txt\n"
                L"  \"Alder Tools\" rules-files-a.msi: component Dup1 {C0000006-0000-4000-8000-000000000006}\n"
                L"  \"Birch Suite\" rules-files-b.msi: component BShared {C0000003-0000-4000-8000-000000000003}"},
            {L"CR3",
                L"File ProgramFilesFolder\\App\\bin\\tool.exe\n"
                L"  \"Alder Tools\" rules-files-a.msi: component Tools {C0000002-0000-4000-8000-000000000002}\n"
                L"  \"Birch Suite\" rules-files-b.msi: component Other {C0000009-0000-4000-8000-000000000009}"},
            {L"CR4",
                L"File ProgramFilesFolder\\App\\bin\\shared.dll of component {C0000003-0000-4000-8000-000000000003}\n"
                L"  \"Alder Tools\" rules-files-a.msi: component Shared, version 3.0.0.0\n"
                L"  \"Birch Suite\" rules-files-b.msi: component BShared, version 3.0.0.1"},
            {L"CR4",
                L"File ProgramFilesFolder\\App\\bin\\same.dll of component {C0000005-0000-4000-8000-000000000005}\n"
                L"  \"Alder Tools\" rules-files-a.msi: component Same, version 1.0\n"
                L"  \"Birch Suite\" rules-files-b.msi: component BSame, version 1.00"},
            {L"CR16",
                L"File ProgramFilesFolder\\App\\bin\\data.bin\n"
                L"  \"Alder Tools\" rules-files-a.msi: component Tools {C0000002-0000-4000-8000-000000000002}, size "
                L"998, version , language 1033\n"
                L"  \"Birch Suite\" rules-files-b.msi: component Other {C0000009-0000-4000-8000-000000000009}, size "
                L"999, version , language 1033"},
            {L"CR16",
                L"File ProgramFilesFolder\\App\\bin\\dup.txt\n"
                L"  \"Alder Tools\" rules-files-a.msi: component Dup1 {C0000006-0000-4000-8000-000000000006}, size 5, "
                L"version , language \n"
                L"  \"Birch Suite\" rules-files-b.msi: component BShared {C0000003-0000-4000-8000-000000000003}, size "
                L"6, version , language "},
        }));
}

TEST(FileRules, IniFilesThatTheOtherPackageInstallsAreReportedBothWays)
{
    FixturePackage a(L"rules-files-a.msi");
    FixturePackage b(L"rules-files-b.msi");
    // The package under test's INI files first, then the repository package's; settings.ini,
    // edited twice by one package and installed once by the other, is reported once.
    EXPECT_EQ(RunRules(a, b, {L"CR15"}),
        (std::vector<ExpectedFinding>{
            {L"CR15",
                L"File ProgramFilesFolder\\App\\app.ini\n"
                L"  \"Alder Tools\" rules-files-a.msi: edits it as an INI file with component Core\n"
                L"  \"Birch Suite\" rules-files-b.msi: installs it with component BCore"},
            {L"CR15",
                L"File ProgramFilesFolder\\App\\conf\\settings.ini\n"
                L"  \"Birch Suite\" rules-files-b.msi: edits it as an INI file with component BConfig\n"
                L"  \"Alder Tools\" rules-files-a.msi: installs it with component Config"},
        }));
}

} // namespace
} // namespace kw
