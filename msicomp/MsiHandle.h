#pragma once
// The one owner of an installer handle: closes it with MsiCloseHandle when it goes out of
// scope, also when an exception passes.
#include "msicomp/MsiApi.h"
#include "util/HandleOwner.h"

namespace kw {

struct MsiHandleKind {
    using Handle = MSIHANDLE;
    static MSIHANDLE Empty() { return 0; }
    static void Close(MSIHANDLE handle) { MsiCloseHandle(handle); }
};

using MsiHandle = HandleOwner<MsiHandleKind>;

} // namespace kw
