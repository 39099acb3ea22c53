#include <windows.h>

#include "os/Module.h"

namespace kw {

const wchar_t* const kResourceLibraryFile = L"uires.dll";

void LoadedLibraryKind::Close(void* library) { FreeLibrary(static_cast<HMODULE>(library)); }

std::wstring ExecutableFolder()
{
    wchar_t path[1024];
    const DWORD length = GetModuleFileNameW(nullptr, path, 1024);
    std::wstring folder(path, length);
    folder.erase(folder.find_last_of(L'\\') + 1);
    return folder;
}

std::unique_ptr<TextLibrary> TextLibrary::Open(const std::wstring& path)
{
    // Loaded only as a source of resources: none of its code runs.
    LoadedLibraryOwner module(LoadLibraryExW(path.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES));
    if (!module)
        return nullptr;
    return std::unique_ptr<TextLibrary>(new TextLibrary(std::move(module), nullptr));
}

std::wstring_view TextLibrary::Find(unsigned id) const
{
    // With a size of 0 the call answers a pointer into the resource itself and its length.
    const wchar_t* text = nullptr;
    const int length = LoadStringW(static_cast<HMODULE>(library_.Get()), id, reinterpret_cast<wchar_t*>(&text), 0);
    if (length <= 0 || text == nullptr)
        return {};
    return {text, static_cast<size_t>(length)};
}

} // namespace kw
