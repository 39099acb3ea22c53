#pragma once
// The process's console: where the console run writes its banner, progress, findings and
// closing line. Created on first use and shared by every thread.
#include <cstdint>
#include <functional>
#include <mutex>
#include <string_view>

namespace kw {

// Console text attributes, as the Windows console numbers them.
enum class ConsoleColour : std::uint16_t {
    Green = 2, // findings, usage options
    Red = 4, // failures
    LightBlue = 9, // step texts
    BrightRed = 12, // exceptions
};

class ConsoleWriter {
public:
    // The writer, created on first use. On Windows creating it attaches the process to its
    // parent's console (or allocates one) and switches the console to UTF-8 until exit.
    static ConsoleWriter& Get();
    // The writer if it has been created, else null: the closing line is written only then.
    static ConsoleWriter* Existing();

    // Writes text to the console output stream as it is, and flushes it.
    bool Write(std::wstring_view text);
    // Writes the text and a line break to the console and then to the second sink, if one is
    // set; true only when every sink took it. Output to a file or a pipe may be kept until the
    // next Flush (or Write, or error text, or the end of the process).
    bool WriteLine(std::wstring_view text);
    bool Flush();
    // A second receiver of every line (a log, or a test); an empty function removes it.
    void SetSecondSink(std::function<bool(std::wstring_view)> sink);

    void SetTitle(std::wstring_view title);
    std::uint16_t TextAttribute();
    void SetTextAttribute(std::uint16_t attribute);

    ConsoleWriter(const ConsoleWriter&) = delete;
    ConsoleWriter& operator=(const ConsoleWriter&) = delete;

private:
    ConsoleWriter();

    std::mutex mutex_;
    std::function<bool(std::wstring_view)> secondSink_;
};

// Sets a console colour for its lifetime, then restores the attribute that was set before, so
// that every coloured line leaves the user's colour as it found it.
class ScopedConsoleColour {
public:
    explicit ScopedConsoleColour(ConsoleColour colour);
    ~ScopedConsoleColour();
    ScopedConsoleColour(const ScopedConsoleColour&) = delete;
    ScopedConsoleColour& operator=(const ScopedConsoleColour&) = delete;

private:
    ConsoleWriter& writer_;
    std::uint16_t previous_;
};

// Writes text to the standard error stream without creating the console: the last way an
// error reaches the user when no window can show it.
bool WriteStandardError(std::wstring_view text);

} // namespace kw
