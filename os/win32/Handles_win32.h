#pragma once
// The kinds of Windows handle the program owns, each closed by the function that the system
// pairs with it. Nothing else closes these handles by hand.
#include <windows.h>

#include "util/HandleOwner.h"

namespace kw {

struct RegistryKeyKind {
    using Handle = HKEY;
    static HKEY Empty() { return nullptr; }
    static void Close(HKEY key) { RegCloseKey(key); }
};

// Files from CreateFileW; "none" is INVALID_HANDLE_VALUE, as CreateFileW answers it.
struct FileKind {
    using Handle = HANDLE;
    static HANDLE Empty() { return INVALID_HANDLE_VALUE; }
    static void Close(HANDLE file) { CloseHandle(file); }
};

// Kernel objects other than files (mutexes, processes, threads): "none" is null, as the
// functions that create or open them answer it.
struct KernelObjectKind {
    using Handle = HANDLE;
    static HANDLE Empty() { return nullptr; }
    static void Close(HANDLE object) { CloseHandle(object); }
};

// Searches from FindFirstFileW, closed with FindClose.
struct FindKind {
    using Handle = HANDLE;
    static HANDLE Empty() { return INVALID_HANDLE_VALUE; }
    static void Close(HANDLE search) { FindClose(search); }
};

// One reference to a COM interface, given back with its Release.
template <typename Interface> struct ComKind {
    using Handle = Interface*;
    static Interface* Empty() { return nullptr; }
    static void Close(Interface* object) { object->Release(); }
};

using RegistryKeyOwner = HandleOwner<RegistryKeyKind>;
using FileOwner = HandleOwner<FileKind>;
using KernelObjectOwner = HandleOwner<KernelObjectKind>;
using FindOwner = HandleOwner<FindKind>;
template <typename Interface> using ComOwner = HandleOwner<ComKind<Interface>>;

} // namespace kw
