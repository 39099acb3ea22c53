#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "ScopedEnvironment.h"
#include "SettingsSandbox.h"
#include "TemporaryFolder.h"
#include "os/FileSystem.h"
#include "os/Registry.h"
#include "os/SystemError.h"
#include "util/strings/StringSystem.h"

namespace kw {

struct SettingsSandbox::Place {
    TemporaryFolder config;
    ScopedEnvironment environment{"XDG_CONFIG_HOME", ToUtf8(config.Path())};
};

SettingsSandbox::SettingsSandbox() : place_(std::make_unique<Place>()) { }
SettingsSandbox::~SettingsSandbox() = default;

std::wstring SettingsSandbox::Subkey(std::wstring_view name) const
{
    return L"Software\\Orvanta\\Kitewright\\" + std::wstring(name);
}

namespace {

constexpr std::string_view kNewFileText =
    "; Kitewright settings, kept by the program. In names and values \"%\" and two\n"
    "; hexadecimal digits stand for one byte of UTF-8: %25 \"%\", %3D \"=\", %0A a line break.\n";
constexpr const wchar_t* kSettings = L"Software\\Orvanta\\Kitewright\\Settings";

std::wstring SettingsFile() { return FromUtf8(std::getenv("XDG_CONFIG_HOME")) + L"/Orvanta/Kitewright/Settings.ini"; }

std::string FileText(const std::wstring& path)
{
    std::string text;
    EXPECT_TRUE(ReadFileBytes(path, text)) << ToUtf8(path);
    return text;
}

bool WriteRepositoryPath(const wchar_t* value)
{
    SettingsKey key;
    return key.Open(kSettings, true) && key.WriteString(L"Repository Path", value);
}

TEST(SettingsFile, LivesInTheXdgConfigFolderElseUnderHome)
{
    const TemporaryFolder config;
    const TemporaryFolder home;
    const ScopedEnvironment homeVariable("HOME", ToUtf8(home.Path()));
    {
        const ScopedEnvironment xdg("XDG_CONFIG_HOME", ToUtf8(config.Path()));
        ASSERT_TRUE(WriteRepositoryPath(L"/srv/packages=new"));
        EXPECT_EQ(FileText(SettingsFile()),
            std::string(kNewFileText) +
                "\n[Software\\Orvanta\\Kitewright\\Settings]\nRepository Path=/srv/packages%3Dnew\n");
    }
    // The base directory specification ignores a relative folder, as an unset one.
    const ScopedEnvironment xdg("XDG_CONFIG_HOME", "relative");
    ASSERT_TRUE(WriteRepositoryPath(L"/srv/home"));
    EXPECT_EQ(FileText(home / L".config/Orvanta/Kitewright/Settings.ini"),
        std::string(kNewFileText) + "\n[Software\\Orvanta\\Kitewright\\Settings]\nRepository Path=/srv/home\n");
}

TEST(SettingsFile, HandEditedFileIsReadAndItsOtherLinesKept)
{
    const SettingsSandbox sandbox;
    ASSERT_TRUE(CreateFolders(SettingsFile().substr(0, SettingsFile().rfind(L'/'))));
    ASSERT_TRUE(ReplaceFileBytes(SettingsFile(),
        "\xEF\xBB\xBF; mine\r\n[Other]\r\nRepository Path=elsewhere\r\n\r\n"
        "[software\\orvanta\\kitewright\\settings]\r\n  Repository Path = /srv/a%20b%25 \r\n# note\r\n\r\n"));

    SettingsKey key;
    ASSERT_TRUE(key.Open(kSettings, true));
    EXPECT_EQ(key.ReadString(L"Repository Path"), L"/srv/a b%");
    ASSERT_TRUE(key.WriteString(L"Last Path", L"/tmp/x.msi"));
    EXPECT_EQ(FileText(SettingsFile()),
        "; mine\n[Other]\nRepository Path=elsewhere\n\n"
        "[software\\orvanta\\kitewright\\settings]\n  Repository Path = /srv/a%20b%25 \n# note\nLast "
        "Path=/tmp/x.msi\n\n");
}

TEST(SettingsFile, RewriteThatFailsPartWayLeavesTheOldFile)
{
    // The fault comes from the file layer's test seam: no real disk fills up on cue.
    struct ClearFault {
        ~ClearFault() { InjectWriteFaultForTests(std::nullopt); }
    } clearFault;
    const SettingsSandbox sandbox;
    ASSERT_TRUE(WriteRepositoryPath(L"/srv/old"));
    const std::string before = FileText(SettingsFile());

    InjectWriteFaultForTests(40);
    EXPECT_FALSE(WriteRepositoryPath(L"/srv/new"));
    EXPECT_EQ(LastSystemError(), 112u);
    InjectWriteFaultForTests(std::nullopt);

    EXPECT_EQ(FileText(SettingsFile()), before);
    std::vector<FolderEntry> entries;
    ASSERT_TRUE(ListFolder(SettingsFile().substr(0, SettingsFile().rfind(L'/')), entries));
    EXPECT_EQ(entries, (std::vector<FolderEntry>{{L"Settings.ini", false}}));
    EXPECT_TRUE(WriteRepositoryPath(L"/srv/new"));
}

} // namespace
} // namespace kw
