#include "core/StackWalk_posix.h"

#include <backtrace.h>
#include <cxxabi.h>
#include <link.h>
#include <unistd.h>
#include <unwind.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

// The unwinder's own lookup of a frame's table: not in its public header, but exported by its
// library under the same version ever since.
extern "C" {
struct dwarf_eh_bases {
    void* tbase;
    void* dbase;
    void* func;
};
const void* _Unwind_Find_FDE(void* pc, dwarf_eh_bases* bases); // NOLINT(bugprone-reserved-identifier): libgcc's name
}

namespace kw {

namespace {

struct Walk {
    WalkStart start;
    RawFrame* frames = nullptr;
    int capacity = 0;
    int count = 0;
};

_Unwind_Reason_Code OnUnwoundFrame(_Unwind_Context* unwind, void* data)
{
    Walk& walk = *static_cast<Walk*>(data);
    int beforeInstruction = 0;
    const RawFrame frame{_Unwind_GetIPInfo(unwind, &beforeInstruction), beforeInstruction != 0};
    if (frame.pc == 0)
        return _URC_END_OF_STACK;
    if (walk.count == 0) {
        const bool first = walk.start.isReturnAddress ? !frame.exact && frame.pc == walk.start.address
                                                      : frame.LookupAddress() == walk.start.address;
        if (!first)
            return _URC_NO_REASON;
    }
    walk.frames[walk.count++] = frame;
    return walk.count == walk.capacity ? _URC_END_OF_STACK : _URC_NO_REASON;
}

void IgnoreSymbolError(void*, const char*, int) { }

// The symbol tables and debug information of the program and its libraries, read as lookups
// need them. Created once and never freed: the library keeps what it read for later lookups.
backtrace_state* Symbols()
{
    static backtrace_state* const state = backtrace_create_state(nullptr, 0, IgnoreSymbolError, nullptr);
    return state;
}

// "kw::Task::Run(int) const [clone .cold]" -> "kw::Task::Run": a frame line adds "()" itself.
std::string WithoutParameters(std::string name)
{
    for (size_t clone = 0; name.ends_with(']') && (clone = name.rfind(" [clone ")) != std::string::npos;)
        name.erase(clone);
    for (bool stripped = true; stripped;) {
        stripped = false;
        for (const std::string_view qualifier : {" const", " volatile", " &&", " &"}) {
            if (name.ends_with(qualifier)) {
                name.erase(name.size() - qualifier.size());
                stripped = true;
            }
        }
    }
    if (!name.ends_with(')'))
        return name;
    int depth = 0;
    for (size_t index = name.size(); index-- > 0;) {
        if (name[index] == ')') {
            ++depth;
        } else if (name[index] == '(' && --depth == 0) {
            name.erase(index);
            break;
        }
    }
    return name;
}

// A C++ name demangled; a C name without the suffix of a part the compiler split off or
// specialised ("main.cold", "scan.isra.0"), since a C name has no dot of its own.
std::string FunctionName(const char* symbol)
{
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> demangled(
        abi::__cxa_demangle(symbol, nullptr, nullptr, &status), &std::free);
    if (status == 0 && demangled)
        return WithoutParameters(demangled.get());
    const std::string_view name(symbol);
    return std::string(name.substr(0, name.find('.', 1)));
}

struct SymbolLookup {
    std::vector<StackFrame> frames;
    std::uintptr_t pc;
};

int OnSourceLine(void* data, std::uintptr_t, const char* file, int line, const char* function)
{
    SymbolLookup& lookup = *static_cast<SymbolLookup*>(data);
    if (file != nullptr || function != nullptr) {
        lookup.frames.push_back({lookup.pc, function != nullptr ? FunctionName(function) : std::string(),
            file != nullptr ? file : "", file != nullptr ? line : 0});
    }
    return 0;
}

void OnSymbol(void* data, std::uintptr_t, const char* symbol, std::uintptr_t, std::uintptr_t)
{
    if (symbol != nullptr)
        *static_cast<std::string*>(data) = FunctionName(symbol);
}

// The symbol table names the function of the frame in full (the debug information often names
// it without its namespace and class) and names it also where there is no debug information,
// static functions included. Functions inlined into it keep the names the debug information
// gives them.
void AddSymbolizedFrames(const RawFrame& raw, std::vector<StackFrame>& frames, size_t limit)
{
    SymbolLookup lookup{{}, raw.pc};
    backtrace_pcinfo(Symbols(), raw.LookupAddress(), OnSourceLine, IgnoreSymbolError, &lookup);
    if (lookup.frames.empty())
        lookup.frames.push_back({raw.pc, {}, {}, 0});
    std::string symbol;
    backtrace_syminfo(Symbols(), raw.LookupAddress(), OnSymbol, IgnoreSymbolError, &symbol);
    if (!symbol.empty())
        lookup.frames.back().function = std::move(symbol);
    const size_t room = limit - std::min(limit, frames.size());
    frames.insert(frames.end(), lookup.frames.begin(),
        lookup.frames.begin() + static_cast<std::ptrdiff_t>(std::min(room, lookup.frames.size())));
}

std::mutex gWalkLock;
thread_local bool tWalking = false;

} // namespace

int WalkStack(WalkStart start, RawFrame* frames, int capacity)
{
    if (capacity <= 0)
        return 0;
    Walk walk{start, frames, capacity, 0};
    _Unwind_Backtrace(OnUnwoundFrame, &walk);
    return walk.count;
}

bool HasUnwindTables(std::uintptr_t pc)
{
    dwarf_eh_bases bases{};
    return _Unwind_Find_FDE(reinterpret_cast<void*>(pc), &bases) != nullptr;
}

std::vector<StackFrame> SymbolizedFrames(const std::vector<RawFrame>& raw, int maxFrames)
{
    std::vector<StackFrame> frames;
    const auto limit = static_cast<size_t>(std::max(maxFrames, 0));
    for (size_t index = 0; index < raw.size() && frames.size() < limit; ++index)
        AddSymbolizedFrames(raw[index], frames, limit);
    return frames;
}

std::uintptr_t ProgramBase()
{
    static const std::uintptr_t base = [] {
        std::uintptr_t found = 0;
        // The loader lists the program first.
        dl_iterate_phdr(
            [](dl_phdr_info* info, size_t, void* data) {
                std::uintptr_t lowest = UINTPTR_MAX;
                for (ElfW(Half) index = 0; index < info->dlpi_phnum; ++index) {
                    if (info->dlpi_phdr[index].p_type == PT_LOAD)
                        lowest = std::min<std::uintptr_t>(lowest, info->dlpi_phdr[index].p_vaddr);
                }
                const auto pageMask = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE)) - 1;
                *static_cast<std::uintptr_t*>(data) =
                    info->dlpi_addr + (lowest == UINTPTR_MAX ? 0 : lowest & ~pageMask);
                return 1;
            },
            &found);
        return found;
    }();
    return base;
}

WalkLock::WalkLock() : held_(!tWalking)
{
    if (held_) {
        gWalkLock.lock();
        tWalking = true;
    }
}

WalkLock::~WalkLock()
{
    if (held_) {
        tWalking = false;
        gWalkLock.unlock();
    }
}

// The trace starts at the frame this function returns into.
[[gnu::noinline]] void AppendCurrentStackTrace(std::wstring& text, int maxFrames)
{
    const auto caller = reinterpret_cast<std::uintptr_t>(__builtin_extract_return_addr(__builtin_return_address(0)));
    const WalkLock lock;
    if (!lock.Held())
        return;
    std::vector<RawFrame> raw(static_cast<size_t>(std::max(maxFrames, 0)));
    raw.resize(static_cast<size_t>(WalkStack({caller, true}, raw.data(), maxFrames)));
    text += FormatStackTrace(SymbolizedFrames(raw, maxFrames), maxFrames, ProgramBase());
}

} // namespace kw
