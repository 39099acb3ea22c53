#pragma once
// libmsi and glib as the shim uses them: one owner type per kind of thing it must release, and
// the translation of libmsi's errors into the installer's result codes. Only msicomp/posix
// includes this.
#include <libmsi.h>

#include "msicomp/posix/MsiShim.h"
#include "util/HandleOwner.h"

namespace kw::msishim {

// A GObject from libmsi or gio (database, query, record, summary information, input stream),
// released with g_object_unref.
template <class T> struct GObjectKind {
    using Handle = T*;
    static T* Empty() { return nullptr; }
    static void Close(T* object) { g_object_unref(object); }
};
template <class T> using GObjectPtr = HandleOwner<GObjectKind<T>>;

// Text that libmsi hands over, released with g_free.
struct GTextKind {
    using Handle = gchar*;
    static gchar* Empty() { return nullptr; }
    static void Close(gchar* text) { g_free(text); }
};
using GText = HandleOwner<GTextKind>;

// The error out-argument of a libmsi call (Put), cleared with g_clear_error.
struct GErrorKind {
    using Handle = GError*;
    static GError* Empty() { return nullptr; }
    static void Close(GError* error) { g_clear_error(&error); }
};
using GErrorSlot = HandleOwner<GErrorKind>;

// The installer's result code for a libmsi error; `otherwise` when there is none or it is not
// one of libmsi's result errors.
UINT ToInstallerError(const GError* error, UINT otherwise);

// Keeps libmsi's glib messages (a warning for every missing table, criticals for null streams)
// off standard error from now on; the program's console shows only its own lines.
void SilenceLibmsiMessages();

} // namespace kw::msishim
