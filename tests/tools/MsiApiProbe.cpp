// Prints the installer entry points' answers to the edge cases that nothing else checks: error
// codes, the two-call rule for strings, null integers and streams. The Windows build answers
// through msi.dll and the POSIX build through the shim over libmsi; both must print the same.
//
//   MsiApiProbe PACKAGE    (a fixture, relative to the probe's own folder)
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "msicomp/MsiApi.h"
#include "os/Module.h"
#include "util/strings/StringSystem.h"

namespace kw {
namespace {

// A size that no call leaves untouched unnoticed.
constexpr DWORD kUnset = 0xA5A5A5A5;

void Line(const std::string& text) { std::printf("%s\n", text.c_str()); }

std::string N(long long value) { return std::to_string(value); }

// A string read by the two-call rule: a buffer of size 0, then one exactly large enough.
template <class Getter> std::string StringReads(Getter get)
{
    wchar_t empty[1] = {L'#'};
    DWORD size = 0;
    // Every call is made before its out-arguments are printed: the operands of + have no order.
    std::string text = "s0=" + N(get(empty, &size));
    text += "," + N(size) + (empty[0] == L'#' ? "" : ",written");
    if (size > 1 << 20)
        return text;
    std::vector<wchar_t> buffer(size + 1, L'#');
    DWORD length = size + 1;
    text += " s=" + N(get(buffer.data(), &length));
    text += "," + N(length) + ",";
    return text + ToUtf8(std::wstring(buffer.data(), std::min<size_t>(length, size)));
}

std::string FieldReads(MSIHANDLE record, UINT field)
{
    std::string text =
        StringReads([&](wchar_t* buffer, DWORD* size) { return MsiRecordGetStringW(record, field, buffer, size); });
    text += " i=" + N(MsiRecordGetInteger(record, field));
    DWORD size = kUnset;
    const UINT result = MsiRecordReadStream(record, field, nullptr, &size);
    text += " r=" + N(result) + "," + (size == kUnset ? "unset" : N(size));
    if (result != ERROR_SUCCESS)
        return text;
    std::string bytes(size, '\0');
    text += " r1=" + N(MsiRecordReadStream(record, field, bytes.data(), &size));
    text += "," + N(size);
    std::uint32_t hash = 2166136261u;
    for (const unsigned char byte : bytes.substr(0, size))
        hash = (hash ^ byte) * 16777619u;
    return text + " fnv=" + N(hash);
}

// One query's result codes and every field of every row, with the format field and one past the
// last field of the first row; or, given `names`, only the first field of each row, unprinted.
void Query(MSIHANDLE database, const std::wstring& query, std::vector<std::wstring>* names = nullptr)
{
    Line("-- " + ToUtf8(query));
    MSIHANDLE view = 0x5EED;
    UINT result = MsiDatabaseOpenViewW(database, query.c_str(), &view);
    Line("open " + N(result) + (view == 0x5EED ? ",unset" : ""));
    if (result != ERROR_SUCCESS)
        return;
    Line("execute " + N(MsiViewExecute(view, 0)));
    for (int row = 1;; ++row) {
        MSIHANDLE record = 0;
        if ((result = MsiViewFetch(view, &record)) != ERROR_SUCCESS) {
            Line("fetch " + N(result) + "," + N(record));
            break;
        }
        const UINT count = MsiRecordGetFieldCount(record);
        std::wstring name(256, L'\0');
        DWORD size = 256;
        if (names && MsiRecordGetStringW(record, 1, name.data(), &size) == ERROR_SUCCESS)
            names->push_back(name.substr(0, size));
        for (UINT field = 0; !names && field <= count + (row == 1); ++field)
            Line(N(row) + "." + N(field) + " " + FieldReads(record, field));
        MsiCloseHandle(record);
    }
    const UINT closed = MsiViewClose(view);
    const UINT handleClosed = MsiCloseHandle(view);
    Line("close " + N(closed) + "," + N(handleClosed) + "," + N(MsiCloseHandle(view)));
}

void Probe(const std::wstring& folder, const std::wstring& package)
{
    Line("close 0: " + N(MsiCloseHandle(0)) + " state 0: " + N(MsiGetDatabaseState(0)));
    for (const std::wstring name :
        {L"fixtures/no-such.msi", L"no-such-folder/a.msi", L"probe/not-a-package.msi", L"fixtures"}) {
        std::wstring path = folder + name;
        std::replace(path.begin(), path.end(), L'/', folder.back());
        MSIHANDLE database = 0x5EED;
        const UINT result = MsiOpenDatabaseW(path.c_str(), MSIDBOPEN_READONLY, &database);
        Line("open " + ToUtf8(name) + " " + N(result) + (database == 0x5EED ? ",unset" : ""));
    }
    MSIHANDLE database = 0;
    if (MsiOpenDatabaseW((folder + package).c_str(), MSIDBOPEN_READONLY, &database) != ERROR_SUCCESS)
        return Line("cannot open " + ToUtf8(package));
    MSIHANDLE summary = 0;
    Line("summary " + N(MsiGetSummaryInformationW(database, nullptr, 1, &summary)));
    for (UINT property = 0; property <= 20; ++property) {
        UINT type = 0xEEEE;
        INT integer = 0x5A5A;
        const std::string reads = StringReads([&](wchar_t* buffer, DWORD* size) {
            return MsiSummaryInfoGetPropertyW(summary, property, &type, &integer, nullptr, buffer, size);
        });
        Line("pid " + N(property) + " " + reads + " type=" + N(type) + " int=" + N(integer));
    }
    MsiCloseHandle(summary);
    std::vector<std::wstring> tables;
    Query(database, L"SELECT `Name` FROM `_Tables`", &tables);
    // The order in which the installer lists its tables is not one the program relies on.
    std::sort(tables.begin(), tables.end());
    tables.insert(tables.end(), {L"NoSuchTable", L"SELEC * FROM `Property`", L"SELECT `NoSuch` FROM `Property`", L""});
    for (const std::wstring& table : tables)
        Query(database,
            table.find(L' ') != std::wstring::npos || table.empty() ? table : L"SELECT * FROM `" + table + L"`");
    MsiCloseHandle(database);
}

} // namespace
} // namespace kw

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    const std::wstring folder = kw::ExecutableFolder();
    std::wstring package = kw::FromUtf8(argv[1]);
    std::replace(package.begin(), package.end(), L'/', folder.back());
    kw::Probe(folder, package);
    return 0;
}
