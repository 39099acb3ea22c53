#pragma once
// Opening packages, the package code, and the database behind a handle that may be an
// installer session.
#include <string>

#include "msicomp/MsiHandle.h"

namespace kw {

// Opens a package or merge module read-only. The installer's result: 0 when it opened.
UINT OpenPackage(const std::wstring& path, MsiHandle& database);

// Summary property 9, the package code; empty text when the summary cannot be read.
std::wstring GetPackageCode(MSIHANDLE database);

// The database to query for a handle: a database handle is used as it is and never closed
// here; an installer session's active database is obtained and closed with this holder.
class DatabaseHandle {
public:
    explicit DatabaseHandle(MSIHANDLE handle);

    MSIHANDLE Get() const { return owned_ ? owned_.Get() : borrowed_; }
    bool Owned() const { return static_cast<bool>(owned_); }
    // False when no database could be obtained: every load on it then yields no rows.
    bool Usable() const { return Get() != 0; }

private:
    MSIHANDLE borrowed_ = 0;
    MsiHandle owned_;
};

} // namespace kw
