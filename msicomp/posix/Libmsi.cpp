#include "msicomp/posix/Libmsi.h"

namespace kw::msishim {
namespace {

// libmsi numbers its result errors from 0; the installer's codes for the same conditions.
constexpr struct {
    LibmsiResultError libmsi;
    UINT installer;
} kResultErrors[] = {
    {LIBMSI_RESULT_SUCCESS, ERROR_SUCCESS},
    {LIBMSI_RESULT_ACCESS_DENIED, ERROR_ACCESS_DENIED},
    {LIBMSI_RESULT_INVALID_HANDLE, ERROR_INVALID_HANDLE},
    {LIBMSI_RESULT_NOT_ENOUGH_MEMORY, ERROR_NOT_ENOUGH_MEMORY},
    {LIBMSI_RESULT_INVALID_DATA, ERROR_INVALID_DATA},
    {LIBMSI_RESULT_OUTOFMEMORY, ERROR_OUTOFMEMORY},
    {LIBMSI_RESULT_INVALID_PARAMETER, ERROR_INVALID_PARAMETER},
    {LIBMSI_RESULT_OPEN_FAILED, ERROR_OPEN_FAILED},
    {LIBMSI_RESULT_CALL_NOT_IMPLEMENTED, ERROR_CALL_NOT_IMPLEMENTED},
    {LIBMSI_RESULT_MORE_DATA, ERROR_MORE_DATA},
    {LIBMSI_RESULT_NOT_FOUND, ERROR_NOT_FOUND},
    {LIBMSI_RESULT_CONTINUE, ERROR_CONTINUE},
    {LIBMSI_RESULT_UNKNOWN_PROPERTY, ERROR_UNKNOWN_PROPERTY},
    {LIBMSI_RESULT_BAD_QUERY_SYNTAX, ERROR_BAD_QUERY_SYNTAX},
    {LIBMSI_RESULT_INVALID_FIELD, ERROR_INVALID_FIELD},
    {LIBMSI_RESULT_FUNCTION_FAILED, ERROR_FUNCTION_FAILED},
    {LIBMSI_RESULT_INVALID_TABLE, ERROR_INVALID_TABLE},
    {LIBMSI_RESULT_DATATYPE_MISMATCH, ERROR_DATATYPE_MISMATCH},
    {LIBMSI_RESULT_INVALID_DATATYPE, ERROR_INVALID_DATATYPE},
};

void DropMessage(const gchar*, GLogLevelFlags, const gchar*, gpointer) { }

} // namespace

UINT ToInstallerError(const GError* error, UINT otherwise)
{
    if (error == nullptr || error->domain != LIBMSI_RESULT_ERROR)
        return otherwise;
    for (const auto& entry : kResultErrors) {
        if (error->code == entry.libmsi)
            return entry.installer;
    }
    return otherwise;
}

void SilenceLibmsiMessages()
{
    // libmsi logs without a domain of its own, so its messages go to glib's default domain,
    // which nothing else in the program uses. Fatal errors still abort as glib makes them.
    static const bool silenced = [] {
        g_log_set_handler(nullptr,
            static_cast<GLogLevelFlags>(
                (G_LOG_LEVEL_MASK & ~G_LOG_LEVEL_ERROR) | G_LOG_FLAG_FATAL | G_LOG_FLAG_RECURSION),
            DropMessage, nullptr);
        return true;
    }();
    static_cast<void>(silenced);
}

} // namespace kw::msishim
