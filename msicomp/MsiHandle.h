#pragma once
// The one owner of an installer handle: closes it with MsiCloseHandle when it goes out of
// scope, also when an exception passes. Movable, not copyable; closes only a non-zero handle.
#include <utility>

#include "msicomp/MsiApi.h"

namespace kw {

class MsiHandle {
public:
    MsiHandle() = default;
    explicit MsiHandle(MSIHANDLE handle) : handle_(handle) { }
    ~MsiHandle() { Close(); }

    MsiHandle(MsiHandle&& other) noexcept : handle_(std::exchange(other.handle_, 0)) { }
    MsiHandle& operator=(MsiHandle&& other) noexcept
    {
        if (this != &other) {
            Close();
            handle_ = std::exchange(other.handle_, 0);
        }
        return *this;
    }
    MsiHandle(const MsiHandle&) = delete;
    MsiHandle& operator=(const MsiHandle&) = delete;

    MSIHANDLE Get() const { return handle_; }
    explicit operator bool() const { return handle_ != 0; }

    // For the out-argument of an entry point; whatever was held is closed first.
    MSIHANDLE* Put()
    {
        Close();
        return &handle_;
    }

    void Close()
    {
        if (handle_ != 0)
            MsiCloseHandle(std::exchange(handle_, 0));
    }

private:
    MSIHANDLE handle_ = 0;
};

} // namespace kw
