#include <gtest/gtest.h>

#include "AppPathsSandbox.h"
#include "msicomp/apppaths/AppPaths.h"

namespace kw {

// Windows has one set of system folders; only the settings and the application folder change.
struct AppPathsSandbox::Place { };

AppPathsSandbox::AppPathsSandbox() : place_(std::make_unique<Place>()) { }
AppPathsSandbox::~AppPathsSandbox() = default;

namespace {

TEST(FolderPaths, NormalisedToTheirShortestForm)
{
    EXPECT_EQ(NormaliseFolderPath(L"C:/Packages\\\\old\\.\\..\\new\\"), L"C:\\Packages\\new");
    EXPECT_EQ(NormaliseFolderPath(L"\\\\?\\C:\\Packages\\"), L"C:\\Packages");
    EXPECT_EQ(NormaliseFolderPath(L"\\\\server\\share\\..\\x\\"), L"\\\\server\\x");
    EXPECT_EQ(NormaliseFolderPath(L"C:\\"), L"C:\\");
    const std::wstring deep = L"C:\\" + std::wstring(300, L'a');
    EXPECT_EQ(NormaliseFolderPath(deep + L"\\"), L"\\\\?\\" + deep);
    EXPECT_EQ(ExpandFolderMacro(L"[CommonAppDataFolder]").empty(), false);
}

} // namespace
} // namespace kw
