#include "RuleTestSupport.h"

#include <chrono>
#include <filesystem>

namespace kw {
namespace {

// A folder of merge modules made for one test and removed after it: the two fixture modules
// (copied in the reverse of their name order) and a package named like a module, which is
// no module and is skipped.
class ModuleFolder {
public:
    ModuleFolder()
    {
        const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
        path_ = std::filesystem::temp_directory_path() / ("kw-rules-modules-" + std::to_string(stamp));
        std::filesystem::create_directories(path_);
        for (const wchar_t* name : {L"rules-module-tools.msm", L"rules-module-runtime.msm"})
            std::filesystem::copy_file(FixturePath(name), path_ / name);
        std::filesystem::copy_file(FixturePath(L"rules-modules-a.msi"), path_ / L"package.MSM");
    }
    ~ModuleFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    std::wstring Path() const { return path_.wstring(); }
    std::wstring Module(const wchar_t* name) const { return (path_ / name).wstring(); }

private:
    std::filesystem::path path_;
};

std::wstring Detail(const std::wstring& entry, const std::wstring& module, const std::wstring& a, const std::wstring& b)
{
    return entry + L" is supplied by merge module " + module + L")\n  \"Elm App\" rules-modules-a.msi: component " + a +
        L"\n  \"Fir App\" rules-modules-b.msi: component " + b;
}

TEST(MergeModuleRules, EntriesThatAModuleSuppliesAreReportedUnlessBothInstallThemThroughIt)
{
    ModuleFolder folder;
    MergeModules modules({folder.Path() + L"-missing", folder.Path()});
    FixturePackage a(L"rules-modules-a.msi");
    FixturePackage b(L"rules-modules-b.msi");
    PackagePair pair(a, b, &modules);
    const std::wstring runtime = L"\"Runtime Library\" version 9.0 (" + folder.Module(L"rules-module-runtime.msm");
    const std::wstring tools = L"\"Tool Library\" version 1.5 (" + folder.Module(L"rules-module-tools.msm");
    // runtime.dll: both modules supply it, the first by name is named. shared.dat: both
    // packages install it through the module (one by ModuleComponents, one by the merged
    // component's name), no finding; elm.exe: no module supplies it. The HKMU value is not
    // the module's HKEY_LOCAL_MACHINE one. Files come before registry values.
    EXPECT_EQ(RunRules(pair, {L"CR19"}),
        (std::vector<ExpectedFinding>{
            {L"CR19", Detail(L"File entry SystemFolder\\runtime.dll", runtime, L"ElmRuntime", L"FirRt")},
            {L"CR19",
                Detail(L"File entry SystemFolder\\tool.dll", tools, L"ElmTools",
                    L"tl.BBBB1111_2222_3333_4444_555555555555")},
            {L"CR19",
                Detail(
                    L"Registry entry HKEY_LOCAL_MACHINE\\Software\\Runtime [Installed]", runtime, L"ElmApp", L"FirRt")},
        }));
    ASSERT_EQ(modules.Modules().size(), 2u);
    EXPECT_EQ(modules.Modules()[0].moduleId, L"Runtime.AAAA1111_2222_3333_4444_555555555555");

    // No folder, or a folder without modules: nothing is supplied.
    MergeModules none;
    PackagePair withoutModules(a, b, &none);
    EXPECT_EQ(RunRules(withoutModules, {L"CR19"}), std::vector<ExpectedFinding>{});
    MergeModules empty({folder.Path() + L"-missing"});
    PackagePair withEmptyFolder(a, b, &empty);
    EXPECT_EQ(RunRules(withEmptyFolder, {L"CR19"}), std::vector<ExpectedFinding>{});
}

TEST(MergeModuleRules, ComponentsBelongToAModuleByListOrByTheSuffixMergingGivesThem)
{
    const std::wstring module = L"Runtime.AAAA_1111";
    RowTable listed(RowSet::ModuleComponents);
    const std::span<std::wstring_view> row = listed.Add();
    row[Position(RowSet::ModuleComponents, Column::Component)] = L"Listed";
    row[Position(RowSet::ModuleComponents, Column::ModuleId)] = module;
    const RowTable none(RowSet::ModuleComponents);
    EXPECT_TRUE(IsModuleComponent(L"Listed", module, listed));
    EXPECT_FALSE(IsModuleComponent(L"Listed", L"Other.AAAA_1111", listed));
    EXPECT_TRUE(IsModuleComponent(L"rt.AAAA_1111", module, none));
    // The suffix needs its point and a name before it; case counts.
    EXPECT_FALSE(IsModuleComponent(L"rtAAAA_1111", module, none));
    EXPECT_FALSE(IsModuleComponent(L".AAAA_1111", module, none));
    EXPECT_FALSE(IsModuleComponent(L"rt.aaaa_1111", module, none));
    EXPECT_FALSE(IsModuleComponent(L"rt.", L"NoPoint", none));
}

} // namespace
} // namespace kw
