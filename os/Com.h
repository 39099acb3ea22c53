#pragma once
// COM for the calling thread, as a single-threaded apartment, for the owner's lifetime.
// POSIX has no COM: there the apartment is never initialised and nothing is undone.
namespace kw {

class ComApartment {
public:
    ComApartment();
    ~ComApartment();
    bool Initialised() const { return initialised_; }

    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;

private:
    bool initialised_ = false;
};

} // namespace kw
