#include "os/Console.h"

#include <atomic>

#include "os/ConsoleDevice.h"

namespace kw {

namespace {
std::atomic<ConsoleWriter*> g_writer{nullptr};
}

ConsoleWriter::ConsoleWriter()
{
    console_device::Open();
    g_writer.store(this, std::memory_order_release);
}

ConsoleWriter& ConsoleWriter::Get()
{
    static ConsoleWriter writer;
    return writer;
}

ConsoleWriter* ConsoleWriter::Existing() { return g_writer.load(std::memory_order_acquire); }

bool ConsoleWriter::Write(std::wstring_view text)
{
    std::lock_guard lock(mutex_);
    const bool written = console_device::Write(text);
    return console_device::Flush() && written;
}

bool ConsoleWriter::Flush()
{
    std::lock_guard lock(mutex_);
    return console_device::Flush();
}

bool ConsoleWriter::WriteLine(std::wstring_view text)
{
    std::lock_guard lock(mutex_);
    std::wstring line(text);
    line += L"\r\n";
    bool written = console_device::Write(line);
    if (secondSink_)
        written = secondSink_(line) && written;
    return written;
}

void ConsoleWriter::SetSecondSink(std::function<bool(std::wstring_view)> sink)
{
    std::lock_guard lock(mutex_);
    secondSink_ = std::move(sink);
}

void ConsoleWriter::SetTitle(std::wstring_view title) { console_device::SetTitle(title); }

std::uint16_t ConsoleWriter::TextAttribute() { return console_device::GetAttribute(); }

void ConsoleWriter::SetTextAttribute(std::uint16_t attribute)
{
    std::lock_guard lock(mutex_);
    console_device::SetAttribute(attribute);
}

ScopedConsoleColour::ScopedConsoleColour(ConsoleColour colour)
    : writer_(ConsoleWriter::Get()), previous_(writer_.TextAttribute())
{
    writer_.SetTextAttribute(static_cast<std::uint16_t>(colour));
}

ScopedConsoleColour::~ScopedConsoleColour() { writer_.SetTextAttribute(previous_); }

bool WriteStandardError(std::wstring_view text) { return console_device::WriteError(text); }

} // namespace kw
