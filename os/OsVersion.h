#pragma once
// The operating system's version and edition, read once per process.
//
// Windows reads the registry, HKEY_LOCAL_MACHINE in its 64-bit view:
//   major, minor     "Software\Microsoft\Windows NT\CurrentVersion" DWORD values
//                    "CurrentMajorVersionNumber", "CurrentMinorVersionNumber"; when the
//                    major one is missing or 0, the text "CurrentVersion" ("6.1")
//   buildNumber      "CurrentBuildNumber" there ("7601")
//   servicePack      "CSDVersion" there ("Service Pack 1")
//   productType,     "SYSTEM\CurrentControlSet\Control\ProductOptions" "ProductType":
//   server           "WinNT" workstation, "ServerNT" server, any other text domain controller
//   suiteMask        the bits of the names listed in "ProductSuite" there (SuiteMaskOf)
// A value that cannot be read leaves its field empty or 0.
//
// POSIX fills from uname and os-release:
//   major, minor     the first two numbers of the kernel release (uname -r: "6.1.0-18-amd64")
//   buildNumber      the whole kernel release ("6.1.0-18-amd64")
//   servicePack      PRETTY_NAME of /etc/os-release, else of /usr/lib/os-release ("Debian
//                    GNU/Linux 12 (bookworm)"); empty when neither has it
//   productType      workstation; server false; suiteMask 0
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kw {

// The product types, as Windows numbers them (VER_NT_*).
inline constexpr std::uint16_t kProductWorkstation = 1;
inline constexpr std::uint16_t kProductDomainController = 2;
inline constexpr std::uint16_t kProductServer = 3;

struct OsVersion {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::wstring buildNumber;
    std::wstring servicePack;
    std::uint16_t productType = 0;
    bool server = false;
    std::uint16_t suiteMask = 0;

    // Whether this is version major.minor or later.
    bool AtLeast(std::uint32_t atLeastMajor, std::uint32_t atLeastMinor) const
    {
        return major != atLeastMajor ? major > atLeastMajor : minor >= atLeastMinor;
    }
};

// The version of the running system, read on the first call; safe from any thread.
const OsVersion& GetOsVersion();

// The version as the system reports it now; GetOsVersion keeps the first answer.
OsVersion ReadOsVersion();

// How the registry's texts are understood, on every platform.

struct VersionNumbers {
    std::uint32_t major;
    std::uint32_t minor;
};

// "CurrentVersion" as it was before the DWORD values existed: only a digit, a point and a
// digit ("6.1"); anything else gives nothing.
std::optional<VersionNumbers> ParseCurrentVersion(std::wstring_view text);

// Fills productType and server from "ProductType".
void SetProductType(OsVersion& version, std::wstring_view productType);

// The suite bits (VER_SUITE_*) of the names in "ProductSuite", a multi-string (names each
// ended by a null character, the list by an empty name); unknown names are ignored.
std::uint16_t SuiteMaskOf(std::wstring_view productSuite);

} // namespace kw
