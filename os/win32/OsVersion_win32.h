#pragma once
// The version reading of GetOsVersion, from any two keys laid out as the system's own.
#include <windows.h>

#include "os/OsVersion.h"

namespace kw {

// Reads `versionKey` as "Software\Microsoft\Windows NT\CurrentVersion" and
// `productOptionsKey` as "SYSTEM\CurrentControlSet\Control\ProductOptions" under `root`.
OsVersion ReadOsVersionFrom(HKEY root, const wchar_t* versionKey, const wchar_t* productOptionsKey);

} // namespace kw
