#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "os/Module.h"
#include "os/SystemError.h"
#include "util/strings/StringSystem.h"

namespace kw {

const wchar_t* const kResourceLibraryFile = L"libuires.so";

namespace {

using FindTextFunction = const wchar_t* (*)(unsigned id, std::size_t* length);

constexpr std::uint32_t kErrorModuleNotFound = 126;
constexpr std::uint32_t kErrorBadFormat = 193;

} // namespace

void LoadedLibraryKind::Close(void* library) { ::dlclose(library); }

std::wstring ExecutableFolder()
{
    std::string path(4096, '\0');
    const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
    if (length <= 0)
        return L"./";
    path.resize(static_cast<size_t>(length));
    path.erase(path.find_last_of('/') + 1);
    return FromUtf8(path);
}

std::unique_ptr<TextLibrary> TextLibrary::Open(const std::wstring& path)
{
    const std::string file = ToUtf8(path);
    struct stat info { };
    if (::stat(file.c_str(), &info) != 0) {
        SetLastSystemError(kErrorModuleNotFound);
        return nullptr;
    }
    LoadedLibraryOwner library(::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL));
    void* find = library ? ::dlsym(library.Get(), "KwFindText") : nullptr;
    if (find == nullptr) {
        library.Reset();
        // It is there but is not a library of texts, as Windows says of a file that is no DLL.
        SetLastSystemError(kErrorBadFormat);
        return nullptr;
    }
    return std::unique_ptr<TextLibrary>(new TextLibrary(std::move(library), find));
}

std::wstring_view TextLibrary::Find(unsigned id) const
{
    std::size_t length = 0;
    const wchar_t* text = reinterpret_cast<FindTextFunction>(find_)(id, &length);
    if (text == nullptr)
        return {};
    return {text, length};
}

} // namespace kw
