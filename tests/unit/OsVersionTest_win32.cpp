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

// Only the version numbers decide what the program does (taskbar progress, console colours).
TEST(OsVersion, WindowsVersionIsWhatTheKernelReports)
{
    const OsVersion& version = GetOsVersion();
    const OSVERSIONINFOEXW kernel = KernelVersion();
    EXPECT_EQ(version.major, kernel.dwMajorVersion);
    EXPECT_EQ(version.minor, kernel.dwMinorVersion);
    EXPECT_EQ(version.buildNumber, std::to_wstring(kernel.dwBuildNumber));
    EXPECT_EQ(&GetOsVersion(), &version);
}

// Keys laid out as the system's own, under HKEY_CURRENT_USER, read by the same code.
TEST(OsVersion, VersionNumbersComeFirstAndTheVersionTextOnlyWithoutThem)
{
    const std::wstring versionKey = std::wstring(kTestKey) + L"\\Version";
    const auto set = [&](const wchar_t* name, DWORD type, const void* data, DWORD bytes) {
        EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, versionKey.c_str(), name, type, data, bytes), ERROR_SUCCESS);
    };
    const auto read = [&] { return ReadOsVersionFrom(HKEY_CURRENT_USER, versionKey.c_str(), L"NoSuchKey"); };
    const DWORD ten = 10, zero = 0;
    set(L"CurrentMajorVersionNumber", REG_DWORD, &ten, sizeof ten);
    set(L"CurrentMinorVersionNumber", REG_DWORD, &zero, sizeof zero);
    set(L"CurrentVersion", REG_SZ, L"6.3", 8);
    OsVersion version = read();
    EXPECT_EQ(version.major, 10u);
    EXPECT_EQ(version.minor, 0u);

    set(L"CurrentMajorVersionNumber", REG_DWORD, &zero, sizeof zero);
    set(L"CurrentVersion", REG_SZ, L"6.2", 8);
    version = read();
    RegDeleteTreeW(HKEY_CURRENT_USER, kTestKey);
    EXPECT_EQ(version.major, 6u);
    EXPECT_EQ(version.minor, 2u);
}

} // namespace
} // namespace kw
