#pragma once
// The running executable's folder, and libraries that are loaded only for their texts.
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "util/HandleOwner.h"

namespace kw {

// The folder of the running executable, ending in the platform's separator.
std::wstring ExecutableFolder();

// The file name of the library of numbered texts: "uires.dll" on Windows, "libuires.so" on POSIX.
extern const wchar_t* const kResourceLibraryFile;

// A library loaded by the platform's loader (Windows: an HMODULE; POSIX: dlopen's handle),
// freed with FreeLibrary or dlclose.
struct LoadedLibraryKind {
    using Handle = void*;
    static void* Empty() { return nullptr; }
    static void Close(void* library);
};
using LoadedLibraryOwner = HandleOwner<LoadedLibraryKind>;

// A loaded library of numbered texts; unloaded with its owner.
class TextLibrary {
public:
    // Loads the library at `path`. Null when it cannot be loaded; the system error then says why.
    static std::unique_ptr<TextLibrary> Open(const std::wstring& path);

    // The text with this id, or empty text when the library has none.
    std::wstring_view Find(unsigned id) const;

    TextLibrary(const TextLibrary&) = delete;
    TextLibrary& operator=(const TextLibrary&) = delete;

private:
    TextLibrary(LoadedLibraryOwner library, void* find) : library_(std::move(library)), find_(find) { }
    LoadedLibraryOwner library_;
    void* find_;
};

} // namespace kw
