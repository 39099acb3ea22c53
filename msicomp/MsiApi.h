#pragma once
// The Windows Installer database interface, as the program uses it on every platform:
// msi.dll's own headers on Windows, the shim over libmsi (msicomp/posix) elsewhere. Package
// access is written once against these entry points, their result codes and the two-call
// rule.
#ifdef _WIN32
#include <windows.h>

#include <msi.h>
#include <msidefs.h>
#include <msiquery.h>
#else
#include "msicomp/posix/MsiShim.h"
#endif

// The null integer as MsiRecordGetInteger answers it: an int on every platform.
inline constexpr int kMsiNullInteger = static_cast<int>(MSI_NULL_INTEGER);
