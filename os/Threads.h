#pragma once
// Threads: a mutex known by name (Windows: a kernel mutex object; POSIX: a mutex of this
// process found by its name, which is all the program needs of one), and how many workers a
// machine runs when nobody says.
#include <memory>
#include <string>

namespace kw {

class NamedMutex {
public:
    // Creates the mutex, not owned; it lives as long as some NamedMutex holds it.
    static std::unique_ptr<NamedMutex> Create(const std::wstring& name);
    // Opens an existing one with the given access rights (Windows access mask; POSIX ignores
    // it). Null when there is none of that name.
    static std::unique_ptr<NamedMutex> Open(const std::wstring& name, unsigned long access);
    ~NamedMutex();

    // Waits without a time-out; false when the wait failed (for example for lack of rights).
    bool Wait();
    void Release();

    NamedMutex(const NamedMutex&) = delete;
    NamedMutex& operator=(const NamedMutex&) = delete;

    struct State;

private:
    explicit NamedMutex(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

// The worker count when NUMBER_OF_PROCESSORS is not set: Windows always sets it, so there it
// is 0; on POSIX it is the processor count.
int WorkersWhenUnset();

} // namespace kw
