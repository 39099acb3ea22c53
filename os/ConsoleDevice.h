#pragma once
// The platform side of the console (os/win32, os/posix). Texts use "\n" or "\r\n" for line
// breaks; the device writes the platform's own line ending.
#include <cstdint>
#include <string_view>

namespace kw::console_device {

void Open();
bool Write(std::wstring_view text);
std::uint16_t GetAttribute();
void SetAttribute(std::uint16_t attribute);
void SetTitle(std::wstring_view title);
bool WriteError(std::wstring_view text);

} // namespace kw::console_device
