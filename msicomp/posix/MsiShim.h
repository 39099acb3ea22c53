#pragma once
// The msi.dll entry points that the program uses, for POSIX, implemented over libmsi: the
// same names, arguments, result codes, two-call behaviour and column type strings as on
// Windows, so that package access is written once. Handles are 32-bit numbers (0 = none)
// from one process-wide, thread-safe table; each thread uses only its own handles. Nothing
// outside msicomp/posix includes libmsi or glib.
#include <climits>
#include <cstdint>

using MSIHANDLE = std::uint32_t;
using UINT = unsigned int;
using INT = int;
using DWORD = std::uint32_t;
using LPCWSTR = const wchar_t*;
using LPWSTR = wchar_t*;

struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

enum MSICOLINFO { MSICOLINFO_NAMES = 0, MSICOLINFO_TYPES = 1 };
enum MSIDBSTATE { MSIDBSTATE_ERROR = -1, MSIDBSTATE_READ = 0, MSIDBSTATE_WRITE = 1 };

// The persist argument that opens a database read-only.
#define MSIDBOPEN_READONLY (static_cast<LPCWSTR>(nullptr))

inline constexpr int MSI_NULL_INTEGER = INT_MIN; // 0x80000000

// Result codes, as Windows numbers them.
inline constexpr UINT ERROR_SUCCESS = 0;
inline constexpr UINT ERROR_FILE_NOT_FOUND = 2;
inline constexpr UINT ERROR_PATH_NOT_FOUND = 3;
inline constexpr UINT ERROR_ACCESS_DENIED = 5;
inline constexpr UINT ERROR_INVALID_HANDLE = 6;
inline constexpr UINT ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr UINT ERROR_INVALID_DATA = 13;
inline constexpr UINT ERROR_OUTOFMEMORY = 14;
inline constexpr UINT ERROR_INVALID_PARAMETER = 87;
inline constexpr UINT ERROR_OPEN_FAILED = 110;
inline constexpr UINT ERROR_CALL_NOT_IMPLEMENTED = 120;
inline constexpr UINT ERROR_MORE_DATA = 234;
inline constexpr UINT ERROR_NO_MORE_ITEMS = 259;
inline constexpr UINT ERROR_NOT_FOUND = 1168;
inline constexpr UINT ERROR_CONTINUE = 1246;
inline constexpr UINT ERROR_UNKNOWN_PROPERTY = 1608;
inline constexpr UINT ERROR_BAD_QUERY_SYNTAX = 1615;
inline constexpr UINT ERROR_INVALID_FIELD = 1616;
inline constexpr UINT ERROR_FUNCTION_FAILED = 1627;
inline constexpr UINT ERROR_INVALID_TABLE = 1628;
inline constexpr UINT ERROR_DATATYPE_MISMATCH = 1629;
inline constexpr UINT ERROR_INSTALL_PACKAGE_INVALID = 1620;
inline constexpr UINT ERROR_INVALID_DATATYPE = 1804;

// Summary information property ids.
inline constexpr UINT PID_CODEPAGE = 1;
inline constexpr UINT PID_TITLE = 2;
inline constexpr UINT PID_SUBJECT = 3;
inline constexpr UINT PID_AUTHOR = 4;
inline constexpr UINT PID_KEYWORDS = 5;
inline constexpr UINT PID_COMMENTS = 6;
inline constexpr UINT PID_TEMPLATE = 7;
inline constexpr UINT PID_LASTAUTHOR = 8;
inline constexpr UINT PID_REVNUMBER = 9;
inline constexpr UINT PID_EDITTIME = 10;
inline constexpr UINT PID_LASTPRINTED = 11;
inline constexpr UINT PID_CREATE_DTM = 12;
inline constexpr UINT PID_LASTSAVE_DTM = 13;
inline constexpr UINT PID_PAGECOUNT = 14;
inline constexpr UINT PID_WORDCOUNT = 15;
inline constexpr UINT PID_CHARCOUNT = 16;
inline constexpr UINT PID_APPNAME = 18;
inline constexpr UINT PID_SECURITY = 19;

// Summary property types (the VARIANT types that MsiSummaryInfoGetPropertyW answers).
inline constexpr UINT VT_EMPTY = 0;
inline constexpr UINT VT_I2 = 2;
inline constexpr UINT VT_I4 = 3;
inline constexpr UINT VT_LPSTR = 30;
inline constexpr UINT VT_FILETIME = 64;

UINT MsiOpenDatabaseW(LPCWSTR databasePath, LPCWSTR persist, MSIHANDLE* database);
UINT MsiDatabaseOpenViewW(MSIHANDLE database, LPCWSTR query, MSIHANDLE* view);
UINT MsiViewExecute(MSIHANDLE view, MSIHANDLE record);
UINT MsiViewFetch(MSIHANDLE view, MSIHANDLE* record);
UINT MsiViewClose(MSIHANDLE view);
UINT MsiViewGetColumnInfo(MSIHANDLE view, MSICOLINFO kind, MSIHANDLE* record);
UINT MsiRecordGetFieldCount(MSIHANDLE record);
UINT MsiRecordGetStringW(MSIHANDLE record, UINT field, LPWSTR buffer, DWORD* size);
int MsiRecordGetInteger(MSIHANDLE record, UINT field);
UINT MsiRecordReadStream(MSIHANDLE record, UINT field, char* buffer, DWORD* size);
UINT MsiGetSummaryInformationW(MSIHANDLE database, LPCWSTR databasePath, UINT updateCount, MSIHANDLE* summary);
UINT MsiSummaryInfoGetPropertyW(
    MSIHANDLE summary, UINT property, UINT* type, INT* integer, FILETIME* time, LPWSTR buffer, DWORD* size);
MSIDBSTATE MsiGetDatabaseState(MSIHANDLE handle);
MSIHANDLE MsiGetActiveDatabase(MSIHANDLE session);
UINT MsiCloseHandle(MSIHANDLE handle);
