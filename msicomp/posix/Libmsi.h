#pragma once
// libmsi and glib as the shim uses them: one owner type per kind of thing it must release, and
// the translation of libmsi's errors into the installer's result codes. Only msicomp/posix
// includes this.
#include <libmsi.h>

#include <memory>

#include "msicomp/posix/MsiShim.h"

namespace kw::msishim {

// A GObject from libmsi or gio (database, query, record, summary information, input stream),
// released with g_object_unref.
struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T> using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

// Text that libmsi hands over, released with g_free.
struct GFree {
    void operator()(gpointer memory) const { g_free(memory); }
};
using GText = std::unique_ptr<gchar, GFree>;

// The error out-argument of a libmsi call, cleared with g_clear_error.
class GErrorSlot {
public:
    GErrorSlot() = default;
    ~GErrorSlot() { g_clear_error(&error_); }
    GErrorSlot(const GErrorSlot&) = delete;
    GErrorSlot& operator=(const GErrorSlot&) = delete;

    GError** Out()
    {
        g_clear_error(&error_);
        return &error_;
    }
    const GError* Get() const { return error_; }

private:
    GError* error_ = nullptr;
};

// The installer's result code for a libmsi error; `otherwise` when there is none or it is not
// one of libmsi's result errors.
UINT ToInstallerError(const GError* error, UINT otherwise);

// Keeps libmsi's glib messages (a warning for every missing table, criticals for null streams)
// off standard error from now on; the program's console shows only its own lines.
void SilenceLibmsiMessages();

} // namespace kw::msishim
