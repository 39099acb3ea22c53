#include <gtest/gtest.h>

#include <windows.h>

#include <string>

#include "os/OsVersion.h"
#include "os/win32/OsVersion_win32.h"

namespace kw {
namespace {

constexpr const wchar_t* kTestKey = L"Software\\Orvanta\\Kitewright\\Tests\\OsVersion";

// The kernel's own account of its version, which the registry values describe.
OSVERSIONINFOEXW KernelVersion()
{
    using GetVersionFunction = LONG(WINAPI*)(OSVERSIONINFOEXW*);
    OSVERSIONINFOEXW info{};
    info.dwOSVersionInfoSize = sizeof info;
    reinterpret_cast<GetVersionFunction>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion")))(&info);
    return info;
}

TEST(OsVersion, WindowsVersionIsWhatTheRegistryHolds)
{
    const OsVersion& version = GetOsVersion();
    const OSVERSIONINFOEXW kernel = KernelVersion();
    EXPECT_EQ(version.major, kernel.dwMajorVersion);
    EXPECT_EQ(version.minor, kernel.dwMinorVersion);
    EXPECT_GE(version.major, 6u);
    EXPECT_EQ(version.buildNumber, std::to_wstring(kernel.dwBuildNumber));
    EXPECT_EQ(version.servicePack, kernel.szCSDVersion);
    EXPECT_EQ(version.productType, kernel.wProductType);
    EXPECT_EQ(version.productType, kProductWorkstation);
    EXPECT_FALSE(version.server);
    EXPECT_EQ(version.suiteMask, 0); // wine lists no product suite
    EXPECT_EQ(&GetOsVersion(), &version);
}

// Keys laid out as the system's own, under HKEY_CURRENT_USER, read by the same code.
TEST(OsVersion, VersionNumbersComeFirstAndTheVersionTextOnlyWithoutThem)
{
    const std::wstring versionKey = std::wstring(kTestKey) + L"\\Version";
    const std::wstring optionsKey = std::wstring(kTestKey) + L"\\Options";
    const auto set = [](const std::wstring& key, const wchar_t* name, DWORD type, std::wstring_view text,
                         DWORD number) {
        const bool isNumber = type == REG_DWORD;
        EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), name, type,
                      isNumber ? static_cast<const void*>(&number) : text.data(),
                      isNumber ? sizeof number : static_cast<DWORD>(text.size() * sizeof(wchar_t))),
            ERROR_SUCCESS);
    };
    const auto read = [&] { return ReadOsVersionFrom(HKEY_CURRENT_USER, versionKey.c_str(), optionsKey.c_str()); };

    set(versionKey, L"CurrentMajorVersionNumber", REG_DWORD, {}, 10);
    set(versionKey, L"CurrentMinorVersionNumber", REG_DWORD, {}, 0);
    set(versionKey, L"CurrentVersion", REG_SZ, {L"6.3", 4}, 0);
    set(versionKey, L"CurrentBuildNumber", REG_SZ, {L"19045", 6}, 0);
    set(optionsKey, L"ProductType", REG_SZ, {L"ServerNT", 9}, 0);
    set(optionsKey, L"ProductSuite", REG_MULTI_SZ, {L"Enterprise\0Terminal Server\0Nonsense\0", 37}, 0);
    OsVersion version = read();
    EXPECT_EQ(version.major, 10u);
    EXPECT_EQ(version.minor, 0u);
    EXPECT_EQ(version.buildNumber, L"19045");
    EXPECT_EQ(version.servicePack, L"");
    EXPECT_EQ(version.productType, kProductServer);
    EXPECT_TRUE(version.server);
    EXPECT_EQ(version.suiteMask, 0x0012);

    set(versionKey, L"CurrentMajorVersionNumber", REG_DWORD, {}, 0);
    set(versionKey, L"CurrentVersion", REG_SZ, {L"6.2", 4}, 0);
    // A value longer than its buffer is not read.
    set(versionKey, L"CSDVersion", REG_SZ, std::wstring(300, L's'), 0);
    RegDeleteTreeW(HKEY_CURRENT_USER, optionsKey.c_str());
    version = read();
    RegDeleteTreeW(HKEY_CURRENT_USER, kTestKey);
    EXPECT_EQ(version.major, 6u);
    EXPECT_EQ(version.minor, 2u);
    EXPECT_EQ(version.servicePack, L"");
    EXPECT_EQ(version.productType, 0);
    EXPECT_FALSE(version.server);
    EXPECT_EQ(version.suiteMask, 0);
}

} // namespace
} // namespace kw
