#include "msicomp/MsiDatabase.h"

#include "msicomp/InstallerString.h"

namespace kw {

UINT OpenPackage(const std::wstring& path, MsiHandle& database)
{
    return MsiOpenDatabaseW(path.c_str(), MSIDBOPEN_READONLY, database.Put());
}

std::wstring GetPackageCode(MSIHANDLE database)
{
    MsiHandle summary;
    if (MsiGetSummaryInformationW(database, nullptr, 1, summary.Put()) != ERROR_SUCCESS)
        return {};
    std::wstring code;
    ReadInstallerString(
        [&](wchar_t* buffer, DWORD* size) {
            return MsiSummaryInfoGetPropertyW(summary.Get(), PID_REVNUMBER, nullptr, nullptr, nullptr, buffer, size);
        },
        code);
    return code;
}

} // namespace kw
