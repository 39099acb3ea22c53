#pragma once
// The platform side of the console (os/win32, os/posix). Texts use "\n" or "\r\n" for line
// breaks; the device writes the platform's own line ending.
#include <cstdint>
#include <string_view>

namespace kw::console_device {

void Open();
// Writes the text, or keeps it to be written with what follows: where the output goes to a file
// or a pipe, writing a report line by line would cost a system call a line.
bool Write(std::wstring_view text);
// Writes whatever Write kept.
bool Flush();
std::uint16_t GetAttribute();
void SetAttribute(std::uint16_t attribute);
void SetTitle(std::wstring_view title);
bool WriteError(std::wstring_view text);

} // namespace kw::console_device
