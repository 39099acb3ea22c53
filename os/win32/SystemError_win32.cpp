#include "os/SystemError.h"

#include <windows.h>

namespace kw {

std::uint32_t LastSystemError() { return GetLastError(); }

void SetLastSystemError(std::uint32_t code) { SetLastError(code); }

std::optional<std::wstring> SystemMessageText(std::uint32_t code)
{
    // Allocate the buffer, ignore inserts, from the system, maximum width: one line.
    constexpr DWORD kFlags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS |
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    wchar_t* buffer = nullptr;
    const DWORD length = FormatMessageW(kFlags, nullptr, code, 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    if (buffer == nullptr)
        return std::nullopt;
    std::wstring text(buffer, length);
    LocalFree(buffer);
    if (length == 0)
        return std::nullopt;
    return text;
}

} // namespace kw
