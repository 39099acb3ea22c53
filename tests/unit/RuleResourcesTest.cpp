#include "RuleTestSupport.h"

namespace kw {
namespace {

// rules-resources-b.msi shares some keys of rules-resources-a.msi from other components, some
// from the same ones, some only in other letter case, and repeats keys on both sides.

TEST(ResourceRules, RegistryShortcutIniOdbcServiceAndVerbKeysFromOtherComponentsAreReported)
{
    FixturePackage a(L"rules-resources-a.msi");
    FixturePackage b(L"rules-resources-b.msi");
    // Roots are shown by name (-1 as HKMU) and ordered by their number as text; a registry
    // row whose component is missing takes no part; a key in other letter case matches
    // nothing; null names and values match each other. Data sources come before drivers.
    EXPECT_EQ(RunRules(a, b, {L"CR6", L"CR7", L"CR8", L"CR9", L"CR10", L"CR11"}),
        (std::vector<ExpectedFinding>{
            {L"CR6",
                L"Registry value HKMU\\Software\\Shared, name \"\"\n"
                L"  \"Cedar Office\" rules-resources-a.msi: component RegA {A1000000-0000-4000-8000-000000000001}\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: component RegB {B1000000-0000-4000-8000-000000000001}"},
            {L"CR6",
                L"Registry value HKEY_CLASSES_ROOT\\.ced, name \"\"\n"
                L"  \"Cedar Office\" rules-resources-a.msi: component RegA {A1000000-0000-4000-8000-000000000001}\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: component RegB {B1000000-0000-4000-8000-000000000001}"},
            {L"CR6",
                L"Registry value HKEY_CLASSES_ROOT\\.ced, name \"\"\n"
                L"  \"Cedar Office\" rules-resources-a.msi: component RegA2 {A2000000-0000-4000-8000-000000000002}\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: component RegB {B1000000-0000-4000-8000-000000000001}"},
            {L"CR6",
                L"Registry value HKEY_LOCAL_MACHINE\\Software\\Cedar, name \"Version\"\n"
                L"  \"Cedar Office\" rules-resources-a.msi: component RegA {A1000000-0000-4000-8000-000000000001}\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: component RegB {B1000000-0000-4000-8000-000000000001}"},
            {L"CR7",
                L"Shortcut ProgramMenuFolder\\Cedar\\Cedar.lnk\n"
                L"  \"Cedar Office\" rules-resources-a.msi: component Lnk {A3000000-0000-4000-8000-000000000003}\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: component LnkB {B3000000-0000-4000-8000-000000000003}"},
            {L"CR8",
                L"INI entry WindowsFolder\\cedar.ini [Main] Lang=en\n"
                L"  \"Cedar Office\" rules-resources-a.msi: component Ini {A4000000-0000-4000-8000-000000000004}\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: component IniB {B4000000-0000-4000-8000-000000000004}"},
            {L"CR8",
                L"INI entry WindowsFolder\\cedar.ini [Main] Mode=\n"
                L"  \"Cedar Office\" rules-resources-a.msi: component Ini {A4000000-0000-4000-8000-000000000004}\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: component IniB {B4000000-0000-4000-8000-000000000004}"},
            {L"CR9",
                L"ODBC data source Cedar DSN\n"
                L"  \"Cedar Office\" rules-resources-a.msi: component Odbc {A5000000-0000-4000-8000-000000000005}\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: component OdbcB {B5000000-0000-4000-8000-000000000005}"},
            {L"CR9",
                L"ODBC driver Cedar Driver\n"
                L"  \"Cedar Office\" rules-resources-a.msi: component Odbc {A5000000-0000-4000-8000-000000000005}\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: component OdbcB {B5000000-0000-4000-8000-000000000005}"},
            {L"CR10",
                L"Service CedarSvc\n"
                L"  \"Cedar Office\" rules-resources-a.msi: component Svc {A6000000-0000-4000-8000-000000000006}\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: component SvcB {B6000000-0000-4000-8000-000000000006}"},
            {L"CR11",
                L"Extension ced, verb open\n"
                L"  \"Cedar Office\" rules-resources-a.msi: component Ext {A7000000-0000-4000-8000-000000000007}\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: component ExtB {B7000000-0000-4000-8000-000000000007}"},
        }));
}

TEST(ResourceRules, ModuleVersionsAndRegistryDataAreComparedAgainstTheFirstRowOfTheirKey)
{
    FixturePackage a(L"rules-resources-a.msi");
    FixturePackage b(L"rules-resources-b.msi");
    EXPECT_EQ(RunRules(a, b, {L"CR5", L"CR17"}),
        (std::vector<ExpectedFinding>{
            {L"CR5",
                L"Merge module Cedar.Lib.11111111_1111_1111_1111_111111111111\n"
                L"  \"Cedar Office\" rules-resources-a.msi: version 1.0\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: version 1.1"},
            {L"CR5",
                L"Merge module Shared.22222222_2222_2222_2222_222222222222\n"
                L"  \"Cedar Office\" rules-resources-a.msi: version 2.0\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: version 2.1"},
            {L"CR5",
                L"Merge module Shared.22222222_2222_2222_2222_222222222222\n"
                L"  \"Cedar Office\" rules-resources-a.msi: version 2.0\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: version 2.1"},
            {L"CR17",
                L"Registry value HKMU\\Software\\Shared, name \"\"\n"
                L"  \"Cedar Office\" rules-resources-a.msi: data \"#1\"\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: data \"#2\""},
            {L"CR17",
                L"Registry value HKEY_CLASSES_ROOT\\.ced, name \"\"\n"
                L"  \"Cedar Office\" rules-resources-a.msi: data \"CedarFile\"\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: data \"Other\""},
            {L"CR17",
                L"Registry value HKEY_CLASSES_ROOT\\.ced, name \"\"\n"
                L"  \"Cedar Office\" rules-resources-a.msi: data \"CedarDoc\"\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: data \"Other\""},
            {L"CR17",
                L"Registry value HKEY_LOCAL_MACHINE\\Software\\Cedar, name \"Path\"\n"
                L"  \"Cedar Office\" rules-resources-a.msi: data \"[APPDIR]\"\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: data \"[INSTALLDIR]\""},
            {L"CR17",
                L"Registry value HKEY_USERS\\.DEFAULT\\Cedar, name \"Lang\"\n"
                L"  \"Cedar Office\" rules-resources-a.msi: data \"en\"\n"
                L"  \"Dogwood Office\" rules-resources-b.msi: data \"de\""},
        }));
}

TEST(CodeRules, OnlyCodesThatBothPackagesHaveAndThatAreEqualAreReported)
{
    FixturePackage a(L"rules-resources-a.msi");
    FixturePackage b(L"rules-resources-b.msi");
    // The upgrade codes differ only in letter case.
    EXPECT_EQ(RunRules(a, b, {L"CR12", L"CR13", L"CR14"}),
        (std::vector<ExpectedFinding>{
            {L"CR12",
                L"Package code {FACE0000-0000-4000-8000-000000000001}\n"
                L"  \"Cedar Office\" rules-resources-a.msi\n"
                L"  \"Dogwood Office\" rules-resources-b.msi"},
            {L"CR13",
                L"Product code {C0DE0000-0000-4000-8000-000000000001}\n"
                L"  \"Cedar Office\" rules-resources-a.msi\n"
                L"  \"Dogwood Office\" rules-resources-b.msi"},
        }));
    // Other codes; no upgrade code on one side.
    FixturePackage other(L"rules-files-a.msi");
    EXPECT_EQ(RunRules(a, other, {L"CR12", L"CR13", L"CR14"}), std::vector<ExpectedFinding>{});
    // A package that cannot be opened has no codes to share, not two equal empty ones.
    RulePackage missing(FixturePath(L"no-such-package.msi"));
    EXPECT_EQ(RunRules(missing, missing, {L"CR12", L"CR13", L"CR14"}), std::vector<ExpectedFinding>{});
    EXPECT_EQ(missing.Name(), L"");
}

} // namespace
} // namespace kw
