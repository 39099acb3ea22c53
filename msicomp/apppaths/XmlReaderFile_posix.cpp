#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "msicomp/apppaths/XmlReaderFile.h"
#include "os/SystemError.h"
#include "os/posix/Handles_posix.h"
#include "util/strings/StringSystem.h"

namespace kw {

struct XmlReaderFile::Handle {
    FileDescriptorOwner descriptor;
};

XmlReaderFile::XmlReaderFile(std::unique_ptr<Handle> handle) : handle_(std::move(handle)) { }
XmlReaderFile::~XmlReaderFile() = default;

std::unique_ptr<XmlReaderFile> XmlReaderFile::Open(const std::wstring& path)
{
    auto handle = std::make_unique<Handle>();
    handle->descriptor.Reset(::open(ToUtf8(path).c_str(), O_RDONLY | O_CLOEXEC));
    if (!handle->descriptor) {
        SetLastSystemError(errno == ENOENT ? 2 : errno == EACCES ? 5 : 31);
        return nullptr;
    }
    return std::unique_ptr<XmlReaderFile>(new XmlReaderFile(std::move(handle)));
}

std::optional<std::size_t> XmlReaderFile::Read(void* buffer, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t got = ::read(handle_->descriptor.Get(), static_cast<char*>(buffer) + done, size - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            SetLastSystemError(errno == EISDIR ? 5 : 30);
            return std::nullopt;
        }
        if (got == 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

} // namespace kw
