// Calls the installer's database entry points in a fixed sequence and prints every answer as
// plain text: result codes, out-arguments, sizes, texts and stream contents. The Windows build
// answers through msi.dll and the POSIX build through the shim over libmsi; the same packages
// must give the same text, line for line.
//
//   MsiApiProbe [PACKAGE...]
//
// First the answers that need no package (invalid handles, files that cannot be opened), then
// for each package (a relative path is taken from the probe's own folder, so that the Windows
// build under wine needs no path translation) its summary information, every table in full and
// a few queries and handle lifetimes that the program depends on.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "msicomp/MsiApi.h"
#include "os/Module.h"
#include "util/strings/StringSystem.h"

namespace kw {
namespace {

// Out-arguments start with these values, so that the output shows what a call left untouched.
constexpr MSIHANDLE kUnsetHandle = 0x5EED5EED;
constexpr DWORD kUnsetSize = 0xA5A5A5A5;
constexpr wchar_t kFill = L'#';
// A number that no call hands out as a handle.
constexpr MSIHANDLE kBogusHandle = 0x7FFFFFF0;

void Line(const std::string& text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fputc('\n', stdout);
}

std::string Number(long long value) { return std::to_string(value); }

std::string Hex(std::uint64_t value)
{
    char text[24];
    std::snprintf(text, sizeof text, "%llx", static_cast<unsigned long long>(value));
    return text;
}

// Printable ASCII as it is, everything else as the bytes of its UTF-8 form, so that the output
// is the same whatever width wchar_t has.
std::string Quote(std::wstring_view text)
{
    std::string quoted = "\"";
    for (const unsigned char byte : ToUtf8(text)) {
        if (byte == '\\' || byte == '"') {
            quoted += '\\';
            quoted += static_cast<char>(byte);
        } else if (byte >= 0x20 && byte < 0x7F) {
            quoted += static_cast<char>(byte);
        } else {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02x", byte);
            quoted += escape;
        }
    }
    return quoted + "\"";
}

std::string Size(DWORD size) { return size == kUnsetSize ? "unset" : Number(size); }

std::string Handle(MSIHANDLE handle)
{
    if (handle == kUnsetHandle)
        return "unset";
    return handle == 0 ? "0" : "handle";
}

// "<label> <result>,<handle>" for a call that hands out a handle; the handle, or 0.
template <class Call> MSIHANDLE Opened(const std::string& label, Call call)
{
    MSIHANDLE handle = kUnsetHandle;
    const UINT result = call(&handle);
    Line(label + " " + Number(result) + "," + Handle(handle));
    return result == ERROR_SUCCESS && handle != kUnsetHandle ? handle : 0;
}

void Answer(const std::string& label, long long result) { Line(label + " " + Number(result)); }

// The text of a buffer that a call filled: up to its terminator, or all of it with "(no end)".
std::string Buffer(const std::vector<wchar_t>& buffer)
{
    const auto end = std::find(buffer.begin(), buffer.end(), L'\0');
    return Quote(std::wstring(buffer.begin(), end)) + (end == buffer.end() ? "(no end)" : "");
}

std::uint32_t Fnv1a(const std::string& bytes)
{
    std::uint32_t hash = 2166136261u;
    for (const unsigned char byte : bytes)
        hash = (hash ^ byte) * 16777619u;
    return hash;
}

// A string read as the program reads it: an empty buffer of size 0, then a buffer exactly large
// enough.
template <class Getter> std::string StringReads(Getter get)
{
    std::vector<wchar_t> empty(1, kFill);
    DWORD size = 0;
    UINT result = get(empty.data(), &size);
    std::string text = "s0=" + Number(result) + "," + Size(size) + (empty[0] == kFill ? "" : ",written");
    const DWORD length = size;
    if (length == kUnsetSize || length > 1 << 20)
        return text;

    std::vector<wchar_t> buffer(length + 1, kFill);
    size = length + 1;
    result = get(buffer.data(), &size);
    return text + " s=" + Number(result) + "," + Size(size) + "," + Buffer(buffer);
}

// A stream read as the program reads it: its size from a call without a buffer, then the bytes.
std::string StreamReads(MSIHANDLE record, UINT field)
{
    DWORD size = kUnsetSize;
    UINT result = MsiRecordReadStream(record, field, nullptr, &size);
    std::string text = "r=" + Number(result) + "," + Size(size);
    if (result != ERROR_SUCCESS || size == kUnsetSize)
        return text;
    std::string bytes(size, '\0');
    result = MsiRecordReadStream(record, field, bytes.data(), &size);
    if (size <= bytes.size())
        bytes.resize(size);
    return text + " r1=" + Number(result) + "," + Size(size) + " fnv=" + Hex(Fnv1a(bytes));
}

std::string FieldReads(MSIHANDLE record, UINT field)
{
    std::string text =
        StringReads([&](wchar_t* buffer, DWORD* size) { return MsiRecordGetStringW(record, field, buffer, size); });
    text += " i=" + Number(MsiRecordGetInteger(record, field));
    return text + " " + StreamReads(record, field);
}

// Column names or types as the program reads them: one call into a 255-character buffer.
std::vector<std::wstring> ColumnInfo(MSIHANDLE view, MSICOLINFO kind, const char* label)
{
    MSIHANDLE record = kUnsetHandle;
    const UINT result = MsiViewGetColumnInfo(view, kind, &record);
    const UINT count = record != kUnsetHandle ? MsiRecordGetFieldCount(record) : 0;
    std::string text =
        std::string(label) + " " + Number(result) + "," + Handle(record) + " count=" + Number(static_cast<int>(count));
    std::vector<std::wstring> values;
    for (UINT field = 1; result == ERROR_SUCCESS && field <= count; ++field) {
        std::vector<wchar_t> buffer(255, kFill);
        DWORD size = 255;
        const UINT read = MsiRecordGetStringW(record, field, buffer.data(), &size);
        values.emplace_back(buffer.data(), std::min<DWORD>(size, 254));
        text += " " + (read == ERROR_SUCCESS ? Quote(values.back()) : Number(read));
    }
    Line(text);
    if (result == ERROR_SUCCESS)
        MsiCloseHandle(record);
    return values;
}

// One query: its result codes, columns and every field of every row.
void DumpQuery(MSIHANDLE database, const std::wstring& query)
{
    Line("-- query " + Quote(query));
    MSIHANDLE view = kUnsetHandle;
    UINT result = MsiDatabaseOpenViewW(database, query.c_str(), &view);
    Line("open " + Number(result) + "," + Handle(view));
    if (result != ERROR_SUCCESS)
        return;
    result = MsiViewExecute(view, 0);
    Line("execute " + Number(result));
    ColumnInfo(view, MSICOLINFO_NAMES, "names");
    const std::vector<std::wstring> types = ColumnInfo(view, MSICOLINFO_TYPES, "types");
    for (int row = 1;; ++row) {
        MSIHANDLE record = kUnsetHandle;
        result = MsiViewFetch(view, &record);
        if (result != ERROR_SUCCESS) {
            Line("fetch " + Number(result) + "," + Handle(record));
            break;
        }
        const UINT count = MsiRecordGetFieldCount(record);
        Line("row " + Number(row) + " fields=" + Number(static_cast<int>(count)));
        for (UINT field = 1; field <= count; ++field)
            Line("  " + Number(field) + " " + FieldReads(record, field));
        // The format field and one past the last field.
        Line("  0 " + FieldReads(record, 0));
        if (row == 1)
            Line("  +1 " + FieldReads(record, count + 1));
        MsiCloseHandle(record);
    }
    Answer("close", MsiViewClose(view));
    Answer("close handle", MsiCloseHandle(view));
}

void DumpSummary(MSIHANDLE database)
{
    Line("-- summary");
    MSIHANDLE summary = kUnsetHandle;
    UINT result = MsiGetSummaryInformationW(database, nullptr, 1, &summary);
    Line("open " + Number(result) + "," + Handle(summary));
    if (result != ERROR_SUCCESS)
        return;
    for (UINT property = 0; property <= 20; ++property) {
        UINT type = 0xEEEE;
        INT integer = 0x5A5A5A5A;
        FILETIME time{0x11111111, 0x22222222};
        std::vector<wchar_t> empty(1, kFill);
        DWORD size = 0;
        result = MsiSummaryInfoGetPropertyW(summary, property, &type, &integer, &time, empty.data(), &size);
        std::string text = "pid " + Number(property) + " a=" + Number(result) + " type=" + Number(type) +
            " int=" + Number(integer) + " time=" + Hex(time.dwHighDateTime) + ":" + Hex(time.dwLowDateTime) +
            " size=" + Size(size) + (empty[0] == kFill ? "" : ",written");
        text += " " + StringReads([&](wchar_t* buffer, DWORD* bufferSize) {
            return MsiSummaryInfoGetPropertyW(summary, property, nullptr, nullptr, nullptr, buffer, bufferSize);
        });
        Line(text);
    }
    Answer("close handle", MsiCloseHandle(summary));
}

std::vector<std::wstring> TableNames(MSIHANDLE database)
{
    std::vector<std::wstring> names;
    MSIHANDLE view = 0;
    if (MsiDatabaseOpenViewW(database, L"SELECT `Name` FROM `_Tables`", &view) != ERROR_SUCCESS)
        return names;
    if (MsiViewExecute(view, 0) == ERROR_SUCCESS) {
        MSIHANDLE record = 0;
        while (MsiViewFetch(view, &record) == ERROR_SUCCESS) {
            std::vector<wchar_t> buffer(256, L'\0');
            DWORD size = 256;
            if (MsiRecordGetStringW(record, 1, buffer.data(), &size) == ERROR_SUCCESS)
                names.emplace_back(buffer.data(), size);
            MsiCloseHandle(record);
        }
    }
    MsiCloseHandle(view);
    // The order in which the installer lists its tables is not one the program relies on.
    std::sort(names.begin(), names.end());
    return names;
}

bool Has(const std::vector<std::wstring>& names, std::wstring_view name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

// What the program relies on beyond one query: the summary of a package named by its path (as
// merge modules are read), and a view that outlives the database handle it came from.
void DumpLifetimes(MSIHANDLE database, const std::wstring& path, const std::wstring& table)
{
    Line("-- lifetimes of " + Quote(table));
    const MSIHANDLE summary =
        Opened("summary by path", [&](MSIHANDLE* out) { return MsiGetSummaryInformationW(0, path.c_str(), 0, out); });
    Line("package code " + StringReads([&](wchar_t* buffer, DWORD* size) {
        return MsiSummaryInfoGetPropertyW(summary, PID_REVNUMBER, nullptr, nullptr, nullptr, buffer, size);
    }));
    MsiCloseHandle(summary);

    const std::wstring query = L"SELECT * FROM `" + table + L"`";
    const MSIHANDLE view =
        Opened("open", [&](MSIHANDLE* out) { return MsiDatabaseOpenViewW(database, query.c_str(), out); });
    Answer("execute", MsiViewExecute(view, 0));
    Answer("close database", MsiCloseHandle(database));
    Answer("state after close", MsiGetDatabaseState(database));
    int rows = 0;
    for (MSIHANDLE row = 0; MsiViewFetch(view, &row) == ERROR_SUCCESS; ++rows)
        MsiCloseHandle(row);
    Answer("rows after the database was closed", rows);
    Answer("close handle", MsiCloseHandle(view));
}

std::wstring FileName(const std::wstring& path)
{
    const size_t slash = path.find_last_of(L"/\\");
    return slash == std::wstring::npos ? path : path.substr(slash + 1);
}

void DumpPackage(const std::wstring& path)
{
    Line("== package " + Quote(FileName(path)));
    MSIHANDLE database = kUnsetHandle;
    const UINT result = MsiOpenDatabaseW(path.c_str(), MSIDBOPEN_READONLY, &database);
    Line("open " + Number(result) + "," + Handle(database));
    if (result != ERROR_SUCCESS)
        return;
    Answer("state", MsiGetDatabaseState(database));
    Line("active " + Handle(MsiGetActiveDatabase(database)));
    DumpSummary(database);

    const std::vector<std::wstring> tables = TableNames(database);
    std::string list = "tables";
    for (const std::wstring& table : tables)
        list += " " + Quote(table);
    Line(list);
    for (const std::wstring& table : tables)
        DumpQuery(database, L"SELECT * FROM `" + table + L"`");

    // The queries the program builds, and the ones that must fail.
    DumpQuery(database, L"SELECT `Value` FROM `Property` WHERE `Property` = 'ProductCode'");
    DumpQuery(database, L"SELECT `Value` FROM `Property` WHERE `Property` = 'NoSuchProperty'");
    if (Has(tables, L"File") && Has(tables, L"Component"))
        DumpQuery(database,
            L"SELECT `File`.`File`, `File`.`Component_`, `File`.`FileName`, `File`.`FileSize`, "
            L"`Component`.`ComponentId`, `Component`.`Directory_` FROM `File`, `Component` "
            L"WHERE `File`.`Component_` = `Component`.`Component`");
    DumpQuery(database, L"SELECT * FROM `NoSuchTable`");
    DumpQuery(database, L"SELECT * FROM `Shortcut`");
    DumpQuery(database, L"SELEC * FROM `Property`");
    DumpQuery(database, L"SELECT `NoSuchColumn` FROM `Property`");
    DumpQuery(database, L"SELECT  FROM `Property`");
    DumpQuery(database, L"");

    if (!tables.empty())
        DumpLifetimes(database, path, Has(tables, L"Property") ? std::wstring(L"Property") : tables.front());
    else
        MsiCloseHandle(database);
}

// Answers that need no package: handle 0 and files that are no package.
void DumpWithoutPackage(const std::wstring& folder)
{
    Line("== no package");
    // Handle 0 is what an owner holds when opening failed.
    Answer("close 0", MsiCloseHandle(0));
    Opened("open view 0", [&](MSIHANDLE* out) { return MsiDatabaseOpenViewW(0, L"SELECT * FROM `Property`", out); });
    Opened("summary 0", [&](MSIHANDLE* out) { return MsiGetSummaryInformationW(0, nullptr, 1, out); });
    Answer("state 0", MsiGetDatabaseState(0));
    Line("active " + Handle(MsiGetActiveDatabase(kBogusHandle)));

    const std::wstring paths[] = {folder + L"fixtures" + folder.back() + L"no-such-package.msi",
        folder + L"no-such-folder" + folder.back() + L"package.msi",
        folder + L"probe" + folder.back() + L"not-a-package.msi", folder + L"fixtures", L""};
    for (const std::wstring& path : paths) {
        std::wstring shown = path.substr(std::min(path.size(), folder.size()));
        std::replace(shown.begin(), shown.end(), L'\\', L'/');
        const std::string label = "open " + Quote(shown);
        MsiCloseHandle(
            Opened(label, [&](MSIHANDLE* out) { return MsiOpenDatabaseW(path.c_str(), MSIDBOPEN_READONLY, out); }));
    }
    Opened("open null", [&](MSIHANDLE* out) { return MsiOpenDatabaseW(nullptr, MSIDBOPEN_READONLY, out); });
}

} // namespace
} // namespace kw

int main(int argc, char** argv)
{
    const std::wstring folder = kw::ExecutableFolder();
    kw::DumpWithoutPackage(folder);
    for (int index = 1; index < argc; ++index) {
        std::wstring path = kw::FromUtf8(argv[index]);
        const bool absolute =
            path.starts_with(L"/") || path.starts_with(L"\\") || path.find(L':') != std::wstring::npos;
        if (!absolute) {
            std::replace(path.begin(), path.end(), L'/', folder.back());
            path.insert(0, folder);
        }
        kw::DumpPackage(path);
    }
    return 0;
}
