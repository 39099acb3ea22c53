#pragma once
// The calling thread's last system error, numbered as Win32 numbers it, and the system's
// text for such a number. On Windows these are GetLastError and FormatMessageW; on POSIX the
// platform layer records the Win32 number of each failure it meets, so that errors read the
// same on both.
#include <cstdint>
#include <optional>
#include <string>

namespace kw {

std::uint32_t LastSystemError();
void SetLastSystemError(std::uint32_t code);

// The system's text for a Win32 error or an HRESULT, on one line as FormatMessageW gives it
// with the maximum-width flag (its final line break becomes a blank); nothing when the system
// has no text for the code.
std::optional<std::wstring> SystemMessageText(std::uint32_t code);

} // namespace kw
