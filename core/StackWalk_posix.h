#pragma once
// Walks of the calling thread's stack, and the names and source lines of their frames: what
// the traces of faults and of cloned exceptions are made of on POSIX. The unwinder of the
// compiler's runtime walks; GCC's libbacktrace reads the symbol tables and debug information.
#include <cstdint>
#include <vector>

#include "core/ExceptionHandling.h"

namespace kw {

// One frame as the unwinder gives it: a return address, or, when `exact`, the address of the
// instruction that was running (a fault's, or the one a signal interrupted).
struct RawFrame {
    std::uintptr_t pc = 0;
    bool exact = false;

    // Where the frame's source is looked up: a return address is one past its call.
    std::uintptr_t LookupAddress() const { return exact ? pc : pc - 1; }
};

// Where a walk begins: the frame of an instruction, or the frame a return address returns into.
struct WalkStart {
    std::uintptr_t address = 0;
    bool isReturnAddress = false;
};

// The frames of the calling thread from `start` outwards, at most `capacity` of them, into
// `frames`; none when the walk does not pass `start`. Takes no lock and allocates nothing, so a
// signal handler may walk (the unwinder finds frame tables without a lock).
int WalkStack(WalkStart start, RawFrame* frames, int capacity);

// Whether the unwinder can leave a frame whose instruction is at `pc`.
bool HasUnwindTables(std::uintptr_t pc);

// The frames of a trace, at most `maxFrames`: one per function inlined at a raw frame's
// address, innermost first, each with the source line of its own code. Under the walk lock.
std::vector<StackFrame> SymbolizedFrames(const std::vector<RawFrame>& raw, int maxFrames);

// The address the program itself is loaded at.
std::uintptr_t ProgramBase();

// One walk at a time in the process, since the symbol library is single-threaded. A thread
// that faults while it walks must not wait for itself: `Held` is then false, and its trace is
// left out.
class WalkLock {
public:
    WalkLock();
    ~WalkLock();
    WalkLock(const WalkLock&) = delete;
    WalkLock& operator=(const WalkLock&) = delete;

    bool Held() const { return held_; }

private:
    bool held_;
};

} // namespace kw
