#include "os/ResourceText.h"

#include <memory>

#include "os/Module.h"

namespace kw {

namespace {
// Loaded at start-up, before any other thread runs, and only read afterwards.
std::unique_ptr<TextLibrary> g_library;
} // namespace

bool LoadResourceLibrary()
{
    if (!g_library)
        g_library = TextLibrary::Open(ExecutableFolder() + kResourceLibraryFile);
    return g_library != nullptr;
}

std::wstring LoadText(unsigned id) { return g_library ? std::wstring(g_library->Find(id)) : std::wstring(); }

std::wstring LoadText(unsigned id, std::size_t capacity)
{
    std::wstring text = LoadText(id);
    if (capacity == 0)
        return {};
    if (text.size() >= capacity)
        text.resize(capacity - 1);
    return text;
}

} // namespace kw
