#pragma once
// The running executable's folder, and libraries that are loaded only for their texts.
#include <memory>
#include <string>
#include <string_view>

namespace kw {

// The folder of the running executable, ending in the platform's separator.
std::wstring ExecutableFolder();

// The file name of the library of numbered texts: "uires.dll" on Windows, "libuires.so" on POSIX.
extern const wchar_t* const kResourceLibraryFile;

// A loaded library of numbered texts; unloaded with its owner.
class TextLibrary {
public:
    // Loads the library at `path`. Null when it cannot be loaded; the system error then says why.
    static std::unique_ptr<TextLibrary> Open(const std::wstring& path);
    ~TextLibrary();

    // The text with this id, or empty text when the library has none.
    std::wstring_view Find(unsigned id) const;

    TextLibrary(const TextLibrary&) = delete;
    TextLibrary& operator=(const TextLibrary&) = delete;

private:
    TextLibrary(void* handle, void* find) : handle_(handle), find_(find) { }
    void* handle_;
    void* find_;
};

} // namespace kw
