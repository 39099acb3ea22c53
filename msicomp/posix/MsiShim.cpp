// The msi.dll entry points over libmsi. Each answers as msi.dll does, measured against it: the
// same result codes, the same out-arguments set or left alone, the same two-call behaviour and
// column type strings. Handles come from one process-wide table (HandleTable); text is UTF-8 in
// libmsi and wide here, converted only at this edge.
#include "msicomp/posix/MsiShim.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "msicomp/posix/HandleTable.h"
#include "msicomp/posix/Libmsi.h"
#include "util/strings/StringSystem.h"

namespace kw::msishim {
namespace {

HandleTable& Handles()
{
    // Never destroyed: a handle closed by some other static object's destructor at exit must
    // still find the table.
    static HandleTable& table = *new HandleTable;
    return table;
}

enum class FieldKind { Null, Integer, String, Stream };

struct Field {
    FieldKind kind = FieldKind::Null;
    int integer = 0;
    std::size_t offset = 0; // of a string's text in its record's text
    std::size_t length = 0;
    // A stream's bytes are read from libmsi at their first use; reads go on from `position`.
    std::unique_ptr<std::string> bytes; // held apart: a record has a field for every column
    std::size_t position = 0;
};

class Database final : public HandleObject {
public:
    static constexpr HandleKind kKind = HandleKind::Database;
    explicit Database(GObjectPtr<LibmsiDatabase> opened) : HandleObject(kKind), database(std::move(opened)) { }

    const GObjectPtr<LibmsiDatabase> database;
};

// libmsi's query holds its own reference to the database, so a view outlives the database
// handle it came from, as on Windows.
class View final : public HandleObject {
public:
    static constexpr HandleKind kKind = HandleKind::View;
    explicit View(GObjectPtr<LibmsiQuery> opened) : HandleObject(kKind), query(std::move(opened)) { }

    const GObjectPtr<LibmsiQuery> query;
    // What each column holds, from the column types at the first fetch.
    std::optional<std::vector<FieldKind>> columns;
    // Set once a fetch has answered ERROR_NO_MORE_ITEMS: msi.dll then starts again at the first row.
    bool ended = false;
};

class Record final : public HandleObject {
public:
    static constexpr HandleKind kKind = HandleKind::Record;
    explicit Record(GObjectPtr<LibmsiRecord> from) : HandleObject(kKind), source(std::move(from)) { }

    // Kept for the streams, which are read only when asked for, and as a parameter record.
    const GObjectPtr<LibmsiRecord> source;
    // Field 0 is the format field; 1.. the columns.
    std::vector<Field> fields;
    // The wide text of every string field, one after the other: one allocation a record.
    std::wstring text;

    std::wstring_view Text(const Field& field) const
    {
        return std::wstring_view(text).substr(field.offset, field.length);
    }

    // Reads the fields of `source` by their columns' kinds (every one as text when there are
    // none). Each is read from libmsi by its column's kind: libmsi complains (and answers
    // nothing useful) when a string is read from a stream or a number from a string.
    void Read(const std::vector<FieldKind>* columns)
    {
        const guint count = libmsi_record_get_field_count(source.Get());
        fields.resize(count + 1);
        constexpr size_t kTypicalText = 32; // characters a field
        text.reserve(count * kTypicalText);
        for (guint column = 1; column <= count; ++column) {
            if (libmsi_record_is_null(source.Get(), column))
                continue;
            Field& field = fields[column];
            field.kind = columns == nullptr || column > columns->size() ? FieldKind::String : (*columns)[column - 1];
            if (field.kind == FieldKind::Integer) {
                field.integer = libmsi_record_get_int(source.Get(), column);
            } else if (field.kind == FieldKind::String) {
                field.offset = text.size();
                const GText utf8(libmsi_record_get_string(source.Get(), column));
                if (utf8)
                    AppendFromUtf8(text, utf8.Get());
                field.length = text.size() - field.offset;
            }
        }
    }
};

class SummaryInformation final : public HandleObject {
public:
    static constexpr HandleKind kKind = HandleKind::SummaryInformation;
    SummaryInformation(GObjectPtr<LibmsiDatabase> from, GObjectPtr<LibmsiSummaryInfo> read)
        : HandleObject(kKind), database(std::move(from)), information(std::move(read))
    {
    }

    const GObjectPtr<LibmsiDatabase> database;
    const GObjectPtr<LibmsiSummaryInfo> information;
};

// The record a thread asked for last: reading a record's fields one after another finds it in
// the table once. A record whose handle was closed since, by any thread, is looked up again and
// so refused as any closed handle is.
thread_local MSIHANDLE tLastRecordHandle = 0;
thread_local std::shared_ptr<Record> tLastRecord;

// The record of an open handle, else null; the thread keeps it alive until it asks for another.
Record* FindRecord(MSIHANDLE record)
{
    if (record == 0 || record != tLastRecordHandle || !tLastRecord || tLastRecord->Closed()) {
        tLastRecord = Handles().Find<Record>(record);
        tLastRecordHandle = tLastRecord ? record : 0;
    }
    return tLastRecord.get();
}

template <class T> GObjectPtr<T> Reference(T* object) { return GObjectPtr<T>(static_cast<T*>(g_object_ref(object))); }

UINT AddHandle(const std::shared_ptr<HandleObject>& object, MSIHANDLE* handle)
{
    const MSIHANDLE added = Handles().Add(object);
    if (added == 0)
        return ERROR_NOT_ENOUGH_MEMORY;
    *handle = added;
    return ERROR_SUCCESS;
}

UINT OpenReadOnly(LPCWSTR path, GObjectPtr<LibmsiDatabase>& database)
{
    SilenceLibmsiMessages();
    // msi.dll answers ERROR_FUNCTION_FAILED for every storage it cannot read; only a path that
    // does not exist is told apart, as the program needs it.
    if (path == nullptr || *path == L'\0')
        return ERROR_FUNCTION_FAILED;
    const std::string file = ToUtf8(path);
    struct stat information { };
    if (::stat(file.c_str(), &information) != 0)
        return errno == ENOENT || errno == ENOTDIR ? ERROR_FILE_NOT_FOUND : ERROR_FUNCTION_FAILED;
    if (S_ISDIR(information.st_mode))
        return ERROR_FUNCTION_FAILED;
    GErrorSlot error;
    database.Reset(libmsi_database_new(file.c_str(), LIBMSI_DB_FLAGS_READONLY, nullptr, error.Put()));
    return database ? ERROR_SUCCESS : ERROR_FUNCTION_FAILED;
}

std::vector<FieldKind> ColumnKinds(LibmsiQuery* query)
{
    std::vector<FieldKind> kinds;
    GErrorSlot error;
    const GObjectPtr<LibmsiRecord> types(libmsi_query_get_column_info(query, LIBMSI_COL_INFO_TYPES, error.Put()));
    if (!types)
        return kinds;
    const guint count = libmsi_record_get_field_count(types.Get());
    for (guint column = 1; column <= count; ++column) {
        const GText type(libmsi_record_get_string(types.Get(), column));
        const char letter = type ? static_cast<char>(g_ascii_tolower(type.Get()[0])) : 's';
        if (letter == 'i' || letter == 'j')
            kinds.push_back(FieldKind::Integer);
        else if (letter == 'v')
            kinds.push_back(FieldKind::Stream);
        else
            kinds.push_back(FieldKind::String);
    }
    return kinds;
}

// A summary text as msi.dll reads it: libmsi hands over the stored bytes unchanged, and they are
// in the code page that the summary information names, or in the Western ANSI code page when it
// names none.
std::wstring SummaryText(LibmsiSummaryInfo* information, const gchar* bytes)
{
    if (bytes == nullptr)
        return std::wstring();
    GErrorSlot error;
    int codePage = 0;
    if (libmsi_summary_info_get_property_type(information, LIBMSI_PROPERTY_CODEPAGE, error.Put()) ==
        LIBMSI_PROPERTY_TYPE_INT)
        codePage = libmsi_summary_info_get_int(information, LIBMSI_PROPERTY_CODEPAGE, error.Put());
    constexpr int kUtf8CodePage = 65001;
    if (codePage == kUtf8CodePage)
        return FromUtf8(bytes);
    const std::string charset = "CP" + std::to_string(codePage > 0 ? codePage : 1252);
    const GText converted(g_convert(bytes, -1, "UTF-8", charset.c_str(), nullptr, nullptr, error.Put()));
    return FromUtf8(converted ? converted.Get() : bytes);
}

bool ReadWholeStream(LibmsiRecord* source, guint column, std::string& bytes)
{
    const GObjectPtr<GInputStream> input(libmsi_record_get_stream(source, column));
    if (!input)
        return false;
    char chunk[1 << 16];
    for (;;) {
        GErrorSlot error;
        const gssize read = g_input_stream_read(input.Get(), chunk, sizeof chunk, nullptr, error.Put());
        if (read < 0)
            return false;
        if (read == 0)
            return true;
        bytes.append(chunk, static_cast<std::size_t>(read));
    }
}

// How much of a text msi.dll writes into a buffer that may be too small. A string goes with its
// terminator as far as the buffer reaches, so a short buffer holds no terminator; a number's
// decimal text is cut to leave room for one.
enum class Copy { UpToCapacity, Terminated, Nothing };

void CopyText(std::wstring_view text, Copy how, wchar_t* buffer, DWORD capacity)
{
    if (buffer == nullptr || capacity == 0 || how == Copy::Nothing)
        return;
    const std::size_t characters =
        std::min<std::size_t>(text.size(), how == Copy::UpToCapacity ? capacity : capacity - 1);
    std::copy_n(text.data(), characters, buffer);
    if (characters < capacity)
        buffer[characters] = L'\0';
}

// A string field as an integer, as msi.dll reads one: an optional minus and decimal digits only.
// It wraps around as msi.dll's own arithmetic does.
int TextToInteger(std::wstring_view text)
{
    const bool negative = !text.empty() && text.front() == L'-';
    std::uint32_t value = 0;
    for (const wchar_t digit : text.substr(negative ? 1 : 0)) {
        if (digit < L'0' || digit > L'9')
            return MSI_NULL_INTEGER;
        value = value * 10 + static_cast<std::uint32_t>(digit - L'0');
    }
    return static_cast<int>(negative ? 0u - value : value);
}

} // namespace
} // namespace kw::msishim

using namespace kw::msishim;

UINT MsiOpenDatabaseW(LPCWSTR databasePath, LPCWSTR persist, MSIHANDLE* database)
{
    // Only the read-only mode exists here: the program never writes a package.
    if (database == nullptr || persist != MSIDBOPEN_READONLY)
        return ERROR_INVALID_PARAMETER;
    GObjectPtr<LibmsiDatabase> opened;
    const UINT result = OpenReadOnly(databasePath, opened);
    if (result != ERROR_SUCCESS)
        return result;
    return AddHandle(std::make_shared<Database>(std::move(opened)), database);
}

UINT MsiDatabaseOpenViewW(MSIHANDLE database, LPCWSTR query, MSIHANDLE* view)
{
    if (view == nullptr)
        return ERROR_INVALID_PARAMETER;
    const auto found = Handles().Find<Database>(database);
    if (!found)
        return ERROR_INVALID_HANDLE;
    if (query == nullptr)
        return ERROR_BAD_QUERY_SYNTAX;
    GErrorSlot error;
    GObjectPtr<LibmsiQuery> opened(libmsi_query_new(found->database.Get(), kw::ToUtf8(query).c_str(), error.Put()));
    if (!opened)
        return ToInstallerError(error.Get(), ERROR_BAD_QUERY_SYNTAX);
    return AddHandle(std::make_shared<View>(std::move(opened)), view);
}

UINT MsiViewExecute(MSIHANDLE view, MSIHANDLE record)
{
    std::shared_ptr<Record> parameters;
    if (record != 0 && !(parameters = Handles().Find<Record>(record)))
        return ERROR_INVALID_HANDLE;
    const auto found = Handles().Find<View>(view);
    if (!found)
        return ERROR_INVALID_HANDLE;
    found->ended = false;
    GErrorSlot error;
    if (!libmsi_query_execute(found->query.Get(), parameters ? parameters->source.Get() : nullptr, error.Put()))
        return ToInstallerError(error.Get(), ERROR_FUNCTION_FAILED);
    return ERROR_SUCCESS;
}

UINT MsiViewFetch(MSIHANDLE view, MSIHANDLE* record)
{
    if (record == nullptr)
        return ERROR_INVALID_PARAMETER;
    *record = 0;
    const auto found = Handles().Find<View>(view);
    if (!found)
        return ERROR_INVALID_HANDLE;
    GErrorSlot error;
    if (found->ended) {
        // Running the query again is libmsi's only way back to its first row.
        found->ended = false;
        if (!libmsi_query_execute(found->query.Get(), nullptr, error.Put()))
            return ToInstallerError(error.Get(), ERROR_FUNCTION_FAILED);
    }
    GObjectPtr<LibmsiRecord> fetched(libmsi_query_fetch(found->query.Get(), error.Put()));
    if (!fetched) {
        if (error.Get() != nullptr)
            return ToInstallerError(error.Get(), ERROR_FUNCTION_FAILED);
        found->ended = true;
        return ERROR_NO_MORE_ITEMS;
    }
    if (!found->columns)
        found->columns = ColumnKinds(found->query.Get());
    auto read = std::make_shared<Record>(std::move(fetched));
    read->Read(&*found->columns);
    // msi.dll puts 1 in the format field of every record that it fetches.
    read->fields[0].kind = FieldKind::Integer;
    read->fields[0].integer = 1;
    return AddHandle(read, record);
}

UINT MsiViewClose(MSIHANDLE view)
{
    const auto found = Handles().Find<View>(view);
    if (!found)
        return ERROR_INVALID_HANDLE;
    GErrorSlot error;
    if (!libmsi_query_close(found->query.Get(), error.Put()))
        return ToInstallerError(error.Get(), ERROR_FUNCTION_FAILED);
    return ERROR_SUCCESS;
}

UINT MsiViewGetColumnInfo(MSIHANDLE view, MSICOLINFO kind, MSIHANDLE* record)
{
    if (record == nullptr || (kind != MSICOLINFO_NAMES && kind != MSICOLINFO_TYPES))
        return ERROR_INVALID_PARAMETER;
    const auto found = Handles().Find<View>(view);
    if (!found)
        return ERROR_INVALID_HANDLE;
    const LibmsiColInfo info = kind == MSICOLINFO_NAMES ? LIBMSI_COL_INFO_NAMES : LIBMSI_COL_INFO_TYPES;
    GErrorSlot error;
    GObjectPtr<LibmsiRecord> columns(libmsi_query_get_column_info(found->query.Get(), info, error.Put()));
    if (!columns)
        return ToInstallerError(error.Get(), ERROR_FUNCTION_FAILED);
    auto read = std::make_shared<Record>(std::move(columns));
    read->Read(nullptr);
    return AddHandle(read, record);
}

UINT MsiRecordGetFieldCount(MSIHANDLE record)
{
    Record* const found = FindRecord(record);
    return found ? static_cast<UINT>(found->fields.size() - 1) : static_cast<UINT>(-1);
}

UINT MsiRecordGetStringW(MSIHANDLE record, UINT field, LPWSTR buffer, DWORD* size)
{
    Record* const found = FindRecord(record);
    if (!found)
        return ERROR_INVALID_HANDLE;
    if (size == nullptr)
        return ERROR_INVALID_PARAMETER;
    if (field >= found->fields.size()) {
        // A field past the last reads as empty text, and no buffer is too small for it.
        CopyText(L"", Copy::UpToCapacity, buffer, *size);
        *size = 0;
        return ERROR_SUCCESS;
    }
    const Field& value = found->fields[field];
    const Copy how = value.kind == FieldKind::Integer ? Copy::Terminated
        : value.kind == FieldKind::Stream             ? Copy::Nothing
                                                      : Copy::UpToCapacity;
    // A number's text is made when it is asked for: most numbers are read as numbers.
    const std::wstring number = value.kind == FieldKind::Integer ? std::to_wstring(value.integer) : std::wstring();
    const std::wstring_view text = value.kind == FieldKind::Integer ? std::wstring_view(number) : found->Text(value);
    CopyText(text, how, buffer, *size);
    const auto length = static_cast<DWORD>(text.size());
    // Without a buffer the call only tells the length; with one, it must hold a terminator too.
    const UINT result = buffer != nullptr && *size <= length ? ERROR_MORE_DATA : ERROR_SUCCESS;
    *size = length;
    return result;
}

int MsiRecordGetInteger(MSIHANDLE record, UINT field)
{
    Record* const found = FindRecord(record);
    if (!found || field >= found->fields.size())
        return MSI_NULL_INTEGER;
    const Field& value = found->fields[field];
    switch (value.kind) {
    case FieldKind::Integer: return value.integer;
    case FieldKind::String: return TextToInteger(found->Text(value));
    case FieldKind::Null:
    case FieldKind::Stream: break;
    }
    return MSI_NULL_INTEGER;
}

UINT MsiRecordReadStream(MSIHANDLE record, UINT field, char* buffer, DWORD* size)
{
    Record* const found = FindRecord(record);
    if (!found)
        return ERROR_INVALID_HANDLE;
    if (size == nullptr || field >= found->fields.size())
        return ERROR_INVALID_PARAMETER;
    Field& value = found->fields[field];
    if (value.kind == FieldKind::Null) {
        *size = 0;
        return ERROR_INVALID_DATA;
    }
    if (value.kind != FieldKind::Stream)
        return ERROR_INVALID_DATATYPE;
    if (!value.bytes) {
        std::string bytes;
        if (!ReadWholeStream(found->source.Get(), field, bytes))
            return ERROR_FUNCTION_FAILED;
        value.bytes = std::make_unique<std::string>(std::move(bytes));
    }
    // Without a buffer: the whole stream's size, however much of it has been read.
    if (buffer == nullptr) {
        *size = static_cast<DWORD>(value.bytes->size());
        return ERROR_SUCCESS;
    }
    const std::size_t count = std::min<std::size_t>(*size, value.bytes->size() - value.position);
    std::copy_n(value.bytes->data() + value.position, count, buffer);
    value.position += count;
    *size = static_cast<DWORD>(count);
    return ERROR_SUCCESS;
}

UINT MsiGetSummaryInformationW(MSIHANDLE database, LPCWSTR databasePath, UINT, MSIHANDLE* summary)
{
    if (summary == nullptr)
        return ERROR_INVALID_PARAMETER;
    GObjectPtr<LibmsiDatabase> source;
    if (database == 0) {
        if (databasePath == nullptr)
            return ERROR_INVALID_HANDLE;
        const UINT result = OpenReadOnly(databasePath, source);
        if (result != ERROR_SUCCESS)
            return result;
    } else {
        const auto found = Handles().Find<Database>(database);
        if (!found)
            return ERROR_INVALID_HANDLE;
        source = Reference(found->database.Get());
    }
    // Nothing is ever written, so libmsi is asked for no updates whatever count the caller allows.
    GErrorSlot error;
    GObjectPtr<LibmsiSummaryInfo> information(libmsi_summary_info_new(source.Get(), 0, error.Put()));
    if (!information)
        return ToInstallerError(error.Get(), ERROR_FUNCTION_FAILED);
    return AddHandle(std::make_shared<SummaryInformation>(std::move(source), std::move(information)), summary);
}

UINT MsiSummaryInfoGetPropertyW(
    MSIHANDLE summary, UINT property, UINT* type, INT* integer, FILETIME* time, LPWSTR buffer, DWORD* size)
{
    const auto found = Handles().Find<SummaryInformation>(summary);
    if (!found)
        return ERROR_INVALID_HANDLE;
    constexpr UINT kPropertyCount = 20;
    if (property >= kPropertyCount) {
        if (type != nullptr)
            *type = VT_EMPTY;
        return ERROR_UNKNOWN_PROPERTY;
    }
    LibmsiSummaryInfo* information = found->information.Get();
    const auto id = static_cast<LibmsiProperty>(property);
    GErrorSlot error;
    switch (libmsi_summary_info_get_property_type(information, id, error.Put())) {
    case LIBMSI_PROPERTY_TYPE_INT:
        // libmsi does not tell a short from a long; only the code page is a short.
        if (type != nullptr)
            *type = property == PID_CODEPAGE ? VT_I2 : VT_I4;
        if (integer != nullptr)
            *integer = libmsi_summary_info_get_int(information, id, error.Put());
        return ERROR_SUCCESS;
    case LIBMSI_PROPERTY_TYPE_FILETIME:
        if (type != nullptr)
            *type = VT_FILETIME;
        if (time != nullptr) {
            const guint64 value = libmsi_summary_info_get_filetime(information, id, error.Put());
            time->dwLowDateTime = static_cast<DWORD>(value);
            time->dwHighDateTime = static_cast<DWORD>(value >> 32);
        }
        return ERROR_SUCCESS;
    case LIBMSI_PROPERTY_TYPE_STRING: {
        if (type != nullptr)
            *type = VT_LPSTR;
        if (size == nullptr)
            return ERROR_SUCCESS;
        const std::wstring text =
            SummaryText(information, libmsi_summary_info_get_string(information, id, error.Put()));
        CopyText(text, Copy::UpToCapacity, buffer, *size);
        const auto length = static_cast<DWORD>(text.size());
        // Unlike a record field, a summary text answers ERROR_MORE_DATA to a call without a buffer.
        const UINT result = *size <= length ? ERROR_MORE_DATA : ERROR_SUCCESS;
        *size = length;
        return result;
    }
    case LIBMSI_PROPERTY_TYPE_EMPTY: break;
    }
    if (type != nullptr)
        *type = VT_EMPTY;
    return ERROR_SUCCESS;
}

MSIDBSTATE MsiGetDatabaseState(MSIHANDLE handle)
{
    // Every database is open read-only; there are no installer sessions here.
    return Handles().Find<Database>(handle) ? MSIDBSTATE_READ : MSIDBSTATE_ERROR;
}

MSIHANDLE MsiGetActiveDatabase(MSIHANDLE) { return 0; }

UINT MsiCloseHandle(MSIHANDLE handle)
{
    if (handle == 0)
        return ERROR_SUCCESS;
    if (handle == tLastRecordHandle) {
        tLastRecordHandle = 0;
        tLastRecord.reset();
    }
    // The object ends here, outside the table's locks, unless a call still uses it.
    return Handles().Remove(handle) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}
