#include <gtest/gtest.h>

#include <sys/resource.h>

#include <csignal>
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
    // The XDG base-directory rules ignore a relative folder, as an unset one.
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
    const SettingsSandbox sandbox;
    ASSERT_TRUE(WriteRepositoryPath(L"/srv/old"));
    const std::string before = FileText(SettingsFile());

    // A file-size limit stops the write part way, as a disk that fills up would: write answers
    // EFBIG instead of raising SIGXFSZ while that signal is ignored.
    {
        rlimit saved{};
        ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
        const auto previousAction = std::signal(SIGXFSZ, SIG_IGN);
        rlimit small = saved;
        small.rlim_cur = 40;
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
        const bool written = WriteRepositoryPath(L"/srv/new");
        const std::uint32_t error = LastSystemError();
        ::setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, previousAction);
        EXPECT_FALSE(written);
        EXPECT_EQ(error, 31u); // EFBIG has no Win32 number of its own: a general failure
    }

    EXPECT_EQ(FileText(SettingsFile()), before);
    std::vector<FolderEntry> entries;
    ASSERT_TRUE(ListFolder(SettingsFile().substr(0, SettingsFile().rfind(L'/')), entries));
    EXPECT_EQ(entries, (std::vector<FolderEntry>{{L"Settings.ini", false}}));
    EXPECT_TRUE(WriteRepositoryPath(L"/srv/new"));
}

} // namespace
} // namespace kw
