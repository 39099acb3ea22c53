#pragma once
// Opening packages, and the package code.
#include <string>

#include "msicomp/MsiHandle.h"

namespace kw {

// Opens a package or merge module read-only. The installer's result: 0 when it opened.
UINT OpenPackage(const std::wstring& path, MsiHandle& database);

// Summary property 9, the package code; empty text when the summary cannot be read.
std::wstring GetPackageCode(MSIHANDLE database);

} // namespace kw
