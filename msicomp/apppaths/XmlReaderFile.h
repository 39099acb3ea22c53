#pragma once
// The file that XmlReader streams: opened for reading, sharing read access, existing files
// only, and read in blocks. Closed with its owner.
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace kw {

class XmlReaderFile {
public:
    // Null when the file cannot be opened; the system error then says why.
    static std::unique_ptr<XmlReaderFile> Open(const std::wstring& path);
    ~XmlReaderFile();
    XmlReaderFile(const XmlReaderFile&) = delete;
    XmlReaderFile& operator=(const XmlReaderFile&) = delete;

    // Fills `buffer` with up to `size` bytes, fewer only at the end of the file; the count, or
    // nothing when reading fails.
    std::optional<std::size_t> Read(void* buffer, std::size_t size);

private:
    struct Handle;
    explicit XmlReaderFile(std::unique_ptr<Handle> handle);
    std::unique_ptr<Handle> handle_;
};

} // namespace kw
