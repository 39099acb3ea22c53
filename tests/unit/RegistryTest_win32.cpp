#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>

#include "SettingsSandbox.h"
#include "os/Registry.h"
#include "os/SystemError.h"

namespace kw {

struct SettingsSandbox::Place {
    std::wstring key;
};

SettingsSandbox::SettingsSandbox() : place_(std::make_unique<Place>())
{
    static std::atomic<unsigned> counter{0};
    place_->key = L"Software\\Orvanta\\Kitewright\\Tests\\" + std::to_wstring(GetCurrentProcessId()) + L"-" +
        std::to_wstring(counter++);
}

SettingsSandbox::~SettingsSandbox() { RegDeleteTreeW(HKEY_CURRENT_USER, place_->key.c_str()); }

std::wstring SettingsSandbox::Subkey(std::wstring_view name) const { return place_->key + L"\\" + std::wstring(name); }

namespace {

TEST(SettingsKey, OnlyStringValuesAreReadAndAsTheyAreStored)
{
    const SettingsSandbox sandbox;
    SettingsKey key;
    ASSERT_TRUE(key.Open(sandbox.Subkey(L"Settings"), true));
    const auto set = [&key](const wchar_t* name, DWORD type, const void* data, DWORD bytes) {
        EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, key.SubkeyPath().c_str(), name, type, data, bytes), 0);
    };
    const DWORD number = 7;
    set(L"Number", REG_DWORD, &number, sizeof number);
    set(L"List", REG_MULTI_SZ, L"a\0b\0", 10);
    set(L"Expandable", REG_EXPAND_SZ, L"%TEMP%\\x", 18);
    set(L"Unterminated", REG_SZ, L"abc", 6);
    set(L"Odd", REG_SZ, L"ab", 5);
    EXPECT_EQ(key.ReadString(L"Number"), L"");
    EXPECT_EQ(key.ReadString(L"List"), L"");
    EXPECT_EQ(key.ReadString(L"Expandable"), L"%TEMP%\\x");
    EXPECT_EQ(key.ReadString(L"Unterminated"), L"abc");
    EXPECT_EQ(key.ReadString(L"Odd"), L"ab");

    // Written as REG_SZ, the length counting the terminator.
    ASSERT_TRUE(key.WriteString(L"Written", L"abc"));
    DWORD type = REG_NONE;
    DWORD bytes = 0;
    RegGetValueW(HKEY_CURRENT_USER, key.SubkeyPath().c_str(), L"Written", RRF_RT_ANY, &type, nullptr, &bytes);
    EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(bytes, 8u);
}

} // namespace
} // namespace kw
