#include <windows.h>

#include "msicomp/apppaths/XmlReaderFile.h"
#include "os/FileSystem.h"
#include "os/win32/Handles_win32.h"

namespace kw {

struct XmlReaderFile::Handle {
    FileOwner file;
};

XmlReaderFile::XmlReaderFile(std::unique_ptr<Handle> handle) : handle_(std::move(handle)) { }
XmlReaderFile::~XmlReaderFile() = default;

std::unique_ptr<XmlReaderFile> XmlReaderFile::Open(const std::wstring& path)
{
    FileOwner file(CreateFileW(SystemPath(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
        FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return nullptr;
    return std::unique_ptr<XmlReaderFile>(new XmlReaderFile(std::make_unique<Handle>(Handle{std::move(file)})));
}

std::optional<std::size_t> XmlReaderFile::Read(void* buffer, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        DWORD got = 0;
        if (!ReadFile(
                handle_->file.Get(), static_cast<char*>(buffer) + done, static_cast<DWORD>(size - done), &got, nullptr))
            return std::nullopt;
        if (got == 0)
            break;
        done += got;
    }
    return done;
}

} // namespace kw
