#include <windows.h>

#include <algorithm>
#include <optional>

#include "os/win32/Handles_win32.h"
#include "os/win32/OsVersion_win32.h"

namespace kw {

namespace {

// KEY_READ in the 64-bit view, so that a 32-bit process reads the system's own values.
constexpr REGSAM kReadAccess64 = 0x20119;
// The sizes of the buffers the values are read into; a longer value is not read.
constexpr DWORD kVersionTextBytes = 32;
constexpr DWORD kTextBytes = 520;
constexpr DWORD kSuiteBytes = 2048;

RegistryKeyOwner OpenForReading(HKEY root, const wchar_t* subkey)
{
    HKEY opened = nullptr;
    if (RegOpenKeyExW(root, subkey, 0, kReadAccess64, &opened) != ERROR_SUCCESS)
        return {};
    return RegistryKeyOwner(opened);
}

std::optional<DWORD> ReadNumber(const RegistryKeyOwner& key, const wchar_t* name)
{
    DWORD value = 0;
    DWORD size = sizeof value;
    DWORD type = REG_NONE;
    if (RegQueryValueExW(key.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size) != ERROR_SUCCESS ||
        type != REG_DWORD)
        return std::nullopt;
    return value;
}

// The data of a string or multi-string value, with its null characters.
std::optional<std::wstring> ReadData(const RegistryKeyOwner& key, const wchar_t* name, DWORD maxBytes)
{
    std::wstring data(maxBytes / sizeof(wchar_t), L'\0');
    DWORD size = maxBytes;
    DWORD type = REG_NONE;
    if (RegQueryValueExW(key.Get(), name, nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &size) !=
            ERROR_SUCCESS ||
        (type != REG_SZ && type != REG_EXPAND_SZ && type != REG_MULTI_SZ))
        return std::nullopt;
    data.resize(size / sizeof(wchar_t));
    return data;
}

// A string value up to its first null character.
std::optional<std::wstring> ReadText(const RegistryKeyOwner& key, const wchar_t* name, DWORD maxBytes)
{
    std::optional<std::wstring> data = ReadData(key, name, maxBytes);
    if (data)
        data->erase(std::min(data->find(L'\0'), data->size()));
    return data;
}

} // namespace

OsVersion ReadOsVersionFrom(HKEY root, const wchar_t* versionKey, const wchar_t* productOptionsKey)
{
    OsVersion version;
    if (const RegistryKeyOwner key = OpenForReading(root, versionKey); key) {
        version.major = ReadNumber(key, L"CurrentMajorVersionNumber").value_or(0);
        version.minor = ReadNumber(key, L"CurrentMinorVersionNumber").value_or(0);
        if (version.major == 0) {
            const auto numbers = ParseCurrentVersion(ReadText(key, L"CurrentVersion", kVersionTextBytes).value_or(L""));
            if (numbers) {
                version.major = numbers->major;
                version.minor = numbers->minor;
            }
        }
        version.buildNumber = ReadText(key, L"CurrentBuildNumber", kTextBytes).value_or(L"");
        version.servicePack = ReadText(key, L"CSDVersion", kTextBytes).value_or(L"");
    }
    if (const RegistryKeyOwner key = OpenForReading(root, productOptionsKey); key) {
        // A product type that cannot be read leaves the type unknown rather than a server.
        if (const auto productType = ReadText(key, L"ProductType", kTextBytes))
            SetProductType(version, *productType);
        if (const auto suite = ReadData(key, L"ProductSuite", kSuiteBytes))
            version.suiteMask = SuiteMaskOf(*suite);
    }
    return version;
}

OsVersion ReadOsVersion()
{
    return ReadOsVersionFrom(HKEY_LOCAL_MACHINE, L"Software\\Microsoft\\Windows NT\\CurrentVersion",
        L"SYSTEM\\CurrentControlSet\\Control\\ProductOptions");
}

} // namespace kw
