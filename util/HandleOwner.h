#pragma once
// The one owner type of every handle of the program, on every platform: it closes its handle
// once, only when it holds one, also when an exception passes, and can be moved but not copied.
//
// A kind says what it owns, in one place next to the interface that hands such handles out:
//
//   struct RegistryKeyKind {
//       using Handle = HKEY;
//       static HKEY Empty() { return nullptr; }
//       static void Close(HKEY key) { RegCloseKey(key); }
//   };
//   using RegistryKeyOwner = HandleOwner<RegistryKeyKind>;
//
// Nothing else closes such a handle by hand. This header is the lowest layer of the program:
// it depends on the standard library only, so that every part may use it.
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
        if (this != &other)
            Reset(other.Release());
        return *this;
    }
    HandleOwner(const HandleOwner&) = delete;
    HandleOwner& operator=(const HandleOwner&) = delete;

    Handle Get() const { return handle_; }
    explicit operator bool() const { return handle_ != Kind::Empty(); }

    // For functions that hand a new handle back through a pointer: whatever was held is
    // closed first.
    Handle* Put()
    {
        Reset();
        return &handle_;
    }

    // Gives the handle up without closing it.
    Handle Release() { return std::exchange(handle_, Kind::Empty()); }

    // Closes what is held, if anything, and holds `handle` instead.
    void Reset(Handle handle = Kind::Empty())
    {
        const Handle old = std::exchange(handle_, handle);
        if (old != Kind::Empty())
            Kind::Close(old);
    }

private:
    Handle handle_ = Kind::Empty();
};

} // namespace kw
