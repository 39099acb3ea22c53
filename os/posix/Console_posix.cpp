// The console on POSIX: standard output as UTF-8 with "\n" line ends. The four console
// colours become ANSI colours when standard output is a terminal and NO_COLOR is unset (or
// CLICOLOR_FORCE asks for them); "restore" is a reset. There is no console to attach to, no
// exit prompt and no taskbar.
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <string>

#include "os/ConsoleDevice.h"
#include "util/strings/StringSystem.h"

namespace kw::console_device {

namespace {

constexpr std::uint16_t kDefaultAttribute = 7;

struct State {
    bool colours = false;
    bool terminal = false;
    bool titleSet = false;
    std::uint16_t attribute = kDefaultAttribute;
    char last = '\n'; // the last byte written, so that the output can end on a line break
    std::mutex pendingLock; // the error stream writes without the console writer's lock
    std::string pending; // kept by Write for a file or pipe, written by Flush
};

// How much output is kept before it is written all the same.
constexpr size_t kPendingLimit = size_t{64} * 1024;

State& Device()
{
    static State state;
    return state;
}

bool EnvironmentSet(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' && std::string(value) != "0";
}

bool WriteAll(int fd, const std::string& bytes)
{
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        done += static_cast<size_t>(n);
    }
    return true;
}

// "\r\n" is how the program's texts end their lines; a terminal or file here wants "\n".
std::string ToPlatformText(std::wstring_view text)
{
    std::string bytes = ToUtf8(text);
    size_t kept = 0;
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] != '\r' || i + 1 == bytes.size() || bytes[i + 1] != '\n')
            bytes[kept++] = bytes[i];
    }
    bytes.resize(kept);
    return bytes;
}

// Call with the pending lock held.
bool WritePending(State& device)
{
    const bool written = device.pending.empty() || WriteAll(STDOUT_FILENO, device.pending);
    device.pending.clear();
    return written;
}

bool WriteOutput(const std::string& bytes)
{
    if (bytes.empty())
        return true;
    State& device = Device();
    device.last = bytes.back();
    // A terminal shows every line as it comes.
    if (device.terminal)
        return WriteAll(STDOUT_FILENO, bytes);
    const std::lock_guard guard(device.pendingLock);
    device.pending += bytes;
    return device.pending.size() < kPendingLimit || WritePending(device);
}

const char* AnsiColour(std::uint16_t attribute)
{
    switch (attribute) {
    case 2: return "\x1b[32m";
    case 4: return "\x1b[31m";
    case 9: return "\x1b[94m";
    case 12: return "\x1b[91m";
    default: return "\x1b[0m";
    }
}

// The shell's prompt starts on a line of its own, and a terminal gets its title back.
void AtExit()
{
    Flush();
    State& device = Device();
    if (device.last != '\n')
        WriteAll(STDOUT_FILENO, "\n");
    if (device.titleSet)
        WriteAll(STDOUT_FILENO, "\x1b[23;0t");
}

} // namespace

void Open()
{
    State& device = Device();
    device.terminal = ::isatty(STDOUT_FILENO) == 1;
    device.colours = EnvironmentSet("CLICOLOR_FORCE") || (device.terminal && std::getenv("NO_COLOR") == nullptr);
    std::atexit(AtExit);
}

bool Write(std::wstring_view text) { return WriteOutput(ToPlatformText(text)); }

bool Flush()
{
    State& device = Device();
    const std::lock_guard guard(device.pendingLock);
    return WritePending(device);
}

std::uint16_t GetAttribute() { return Device().attribute; }

void SetAttribute(std::uint16_t attribute)
{
    State& device = Device();
    if (device.colours && attribute != device.attribute)
        WriteOutput(attribute == kDefaultAttribute ? "\x1b[0m" : AnsiColour(attribute));
    device.attribute = attribute;
}

void SetTitle(std::wstring_view title)
{
    State& device = Device();
    if (!device.terminal)
        return;
    // Push the terminal's title so that it comes back at exit, as a Windows console's does.
    WriteAll(STDOUT_FILENO, "\x1b[22;0t\x1b]0;" + ToUtf8(title) + "\x07");
    device.titleSet = true;
}

bool WriteError(std::wstring_view text)
{
    // What was written to the output before comes before it, unless another thread is writing
    // it at this moment: an error report never waits.
    State& device = Device();
    if (std::unique_lock guard(device.pendingLock, std::try_to_lock); guard.owns_lock())
        WritePending(device);
    return WriteAll(STDERR_FILENO, ToPlatformText(text));
}

} // namespace kw::console_device
