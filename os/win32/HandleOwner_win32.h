#pragma once
// One owner type per kind of Windows handle: it closes its handle once, only when it holds
// one, and can be moved but not copied. Nothing else closes these handles by hand.
#include <windows.h>

#include <utility>

namespace kw {

template <typename Kind> class HandleOwner {
public:
    using Handle = typename Kind::Handle;

    HandleOwner() = default;
    explicit HandleOwner(Handle handle) : handle_(handle) { }
    ~HandleOwner() { Reset(); }

    HandleOwner(HandleOwner&& other) noexcept : handle_(other.Release()) { }
    HandleOwner& operator=(HandleOwner&& other) noexcept
    {
        if (this != &other) {
            Reset();
            handle_ = other.Release();
        }
        return *this;
    }
    HandleOwner(const HandleOwner&) = delete;
    HandleOwner& operator=(const HandleOwner&) = delete;

    Handle Get() const { return handle_; }
    bool IsValid() const { return handle_ != Kind::Empty(); }
    // For functions that hand a new handle back through a pointer: the old one is closed first.
    Handle* Receive()
    {
        Reset();
        return &handle_;
    }
    Handle Release() { return std::exchange(handle_, Kind::Empty()); }
    void Reset()
    {
        if (IsValid())
            Kind::Close(std::exchange(handle_, Kind::Empty()));
    }

private:
    Handle handle_ = Kind::Empty();
};

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

// Searches from FindFirstFileW, closed with FindClose.
struct FindKind {
    using Handle = HANDLE;
    static HANDLE Empty() { return INVALID_HANDLE_VALUE; }
    static void Close(HANDLE search) { FindClose(search); }
};

using RegistryKeyOwner = HandleOwner<RegistryKeyKind>;
using FileOwner = HandleOwner<FileKind>;
using FindOwner = HandleOwner<FindKind>;

} // namespace kw
