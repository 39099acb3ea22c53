#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

#include "SettingsSandbox.h"
#include "os/Registry.h"
#include "os/SystemError.h"
#include "util/strings/StringSystem.h"

namespace kw {
namespace {

const std::pair<std::wstring, std::wstring> kAwkwardValues[] = {
    {L"Repository Path", L"C:\\Packages\\Repository"},
    {L"Empty", L""},
    {L"name=with;odd[chars]#", L"a=b;c[d]e#f"},
    {L"Lines", L"first\nsecond\r\nthird\t"},
    {L"Blanks", L"  leading and trailing  "},
    {L"Percent", L"100%25 % %zz %"},
    {L"caf\u00e9 \u65e5\u672c", L"\u00fc\u00df \u2014 \U0001F600"},
    {L"Null", std::wstring(L"a\0b", 3)},
};

TEST(SettingsKey, ValuesWithAnyCharactersReadBackAsWritten)
{
    const SettingsSandbox sandbox;
    {
        SettingsKey key;
        ASSERT_TRUE(key.Open(sandbox.Subkey(L"Settings\\"), true));
        EXPECT_EQ(key.SubkeyPath(), sandbox.Subkey(L"Settings"));
        EXPECT_TRUE(key.WriteString(L"Lines", L"to be replaced"));
        for (const auto& [name, value] : kAwkwardValues)
            EXPECT_TRUE(key.WriteString(name, value)) << ToUtf8(name);
    }
    // Opened again without the trailing backslash, for reading: the same key.
    SettingsKey key;
    ASSERT_TRUE(key.Open(sandbox.Subkey(L"Settings"), false));
    for (const auto& [name, value] : kAwkwardValues)
        EXPECT_EQ(key.ReadString(name), value) << ToUtf8(name);
    EXPECT_EQ(key.ReadString(L"REPOSITORY PATH"), L"C:\\Packages\\Repository");
}

TEST(SettingsKey, AbsentValuesReadAsEmptyAndReadOnlyKeysRefuseChanges)
{
    const SettingsSandbox sandbox;
    SettingsKey missing;
    EXPECT_FALSE(missing.Open(sandbox.Subkey(L"Missing"), false));
    EXPECT_EQ(LastSystemError(), 2u);
    EXPECT_FALSE(missing.WriteString(L"Repository Path", L"x"));
    EXPECT_EQ(LastSystemError(), 6u);

    SettingsKey writer;
    ASSERT_TRUE(writer.Open(sandbox.Subkey(L"Settings"), true));
    ASSERT_TRUE(writer.WriteString(L"Repository Path", L"kept"));
    ASSERT_TRUE(writer.WriteString(L"Last Path", L"x"));
    EXPECT_TRUE(writer.DeleteValue(L"Last Path"));

    SettingsKey reader;
    ASSERT_TRUE(reader.Open(sandbox.Subkey(L"Settings"), false));
    EXPECT_EQ(reader.ReadString(L"Last Path"), L"");
    EXPECT_EQ(LastSystemError(), 2u);
    EXPECT_FALSE(reader.WriteString(L"Repository Path", L"changed"));
    EXPECT_EQ(LastSystemError(), 5u);
    EXPECT_EQ(reader.ReadString(L"Repository Path"), L"kept");
}

TEST(SettingsKey, WritersOnSeveralThreadsLoseNoValue)
{
    const SettingsSandbox sandbox;
    const auto name = [](int thread, int value) { return std::to_wstring(thread) + L"." + std::to_wstring(value); };
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            SettingsKey key;
            if (key.Open(sandbox.Subkey(L"Settings"), true)) {
                for (int v = 0; v < 10; ++v)
                    key.WriteString(name(t, v), L"written");
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    SettingsKey key;
    ASSERT_TRUE(key.Open(sandbox.Subkey(L"Settings"), false));
    for (int t = 0; t < 4; ++t) {
        for (int v = 0; v < 10; ++v)
            EXPECT_EQ(key.ReadString(name(t, v)), L"written") << ToUtf8(name(t, v));
    }
}

} // namespace
} // namespace kw
