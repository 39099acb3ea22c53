#include <gtest/gtest.h>

#include <cstdlib>

#include "AppPathsSandbox.h"
#include "ScopedEnvironment.h"
#include "msicomp/apppaths/AppPaths.h"
#include "util/strings/StringSystem.h"

namespace kw {

// Fresh XDG data folders; a relative entry first, which the XDG base-directory rules
// ignore, and a second folder that must not be used.
struct AppPathsSandbox::Place {
    TemporaryFolder data;
    ScopedEnvironment dataDirs{
        "XDG_DATA_DIRS", "relative/share:" + ToUtf8(data / L"machine") + "/:" + ToUtf8(data / L"second")};
    ScopedEnvironment dataHome{"XDG_DATA_HOME", ToUtf8(data / L"user")};
};

AppPathsSandbox::AppPathsSandbox() : place_(std::make_unique<Place>()) { }
AppPathsSandbox::~AppPathsSandbox() = default;

namespace {

TEST(SystemFolders, AreTheXdgDataFolders)
{
    const AppPathsSandbox sandbox;
    sandbox.Rebuild();
    const std::wstring data = FromUtf8(std::getenv("XDG_DATA_HOME"));
    const std::wstring machine = data.substr(0, data.rfind(L'/')) + L"/machine";
    EXPECT_EQ(ExpandFolderMacro(L"[CommonAppDataFolder]"), machine);
    EXPECT_EQ(ExpandFolderMacro(L"[CommonFilesFolder]a"), machine + L"/a");
    EXPECT_EQ(ExpandFolderMacro(L"<LocalAppDataFolder>"), data);
    EXPECT_EQ(PathVariable(L"KW_REPOSITORY"), machine + L"/Orvanta/Kitewright/Repository");
    EXPECT_EQ(PathVariable(L"KW_VISUAL_STUDIO_MSM"), machine + L"/Merge modules");
    EXPECT_EQ(PathVariable(L"KW_REPACK_HOME"), data + L"/Orvanta/Kitewright/repackager");

    const ScopedEnvironment noDataDirs("XDG_DATA_DIRS", "");
    EXPECT_EQ(ExpandFolderMacro(L"[CommonAppDataFolder]"), L"/usr/local/share");
}

TEST(FolderPaths, NormalisedToTheirShortestForm)
{
    EXPECT_EQ(NormaliseFolderPath(L"/srv//packages/./old/../new/"), L"/srv/packages/new");
    EXPECT_EQ(NormaliseFolderPath(L"/../srv"), L"/srv");
    EXPECT_EQ(NormaliseFolderPath(L"/"), L"/");
    EXPECT_EQ(NormaliseFolderPath(L"../a/./b"), L"../a/b");
    EXPECT_EQ(NormaliseFolderPath(L"a\\b"), L"a\\b"); // a backslash is part of a POSIX name
}

} // namespace
} // namespace kw
