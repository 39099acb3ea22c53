// Being written: the entry points over libmsi.
#include "msicomp/posix/MsiShim.h"

UINT MsiOpenDatabaseW(LPCWSTR, LPCWSTR, MSIHANDLE*) { return ERROR_OPEN_FAILED; }
UINT MsiDatabaseOpenViewW(MSIHANDLE, LPCWSTR, MSIHANDLE*) { return ERROR_INVALID_HANDLE; }
UINT MsiViewExecute(MSIHANDLE, MSIHANDLE) { return ERROR_INVALID_HANDLE; }
UINT MsiViewFetch(MSIHANDLE, MSIHANDLE*) { return ERROR_INVALID_HANDLE; }
UINT MsiViewClose(MSIHANDLE) { return ERROR_INVALID_HANDLE; }
UINT MsiViewGetColumnInfo(MSIHANDLE, MSICOLINFO, MSIHANDLE*) { return ERROR_INVALID_HANDLE; }
UINT MsiRecordGetFieldCount(MSIHANDLE) { return UINT(-1); }
UINT MsiRecordGetStringW(MSIHANDLE, UINT, LPWSTR, DWORD*) { return ERROR_INVALID_HANDLE; }
int MsiRecordGetInteger(MSIHANDLE, UINT) { return MSI_NULL_INTEGER; }
UINT MsiRecordReadStream(MSIHANDLE, UINT, char*, DWORD*) { return ERROR_INVALID_HANDLE; }
UINT MsiGetSummaryInformationW(MSIHANDLE, LPCWSTR, UINT, MSIHANDLE*) { return ERROR_INVALID_HANDLE; }
UINT MsiSummaryInfoGetPropertyW(MSIHANDLE, UINT, UINT*, INT*, FILETIME*, LPWSTR, DWORD*) { return ERROR_INVALID_HANDLE; }
MSIDBSTATE MsiGetDatabaseState(MSIHANDLE) { return MSIDBSTATE_ERROR; }
MSIHANDLE MsiGetActiveDatabase(MSIHANDLE) { return 0; }
UINT MsiCloseHandle(MSIHANDLE) { return ERROR_INVALID_HANDLE; }
