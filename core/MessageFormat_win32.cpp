#include <windows.h>

#include <array>
#include <cstdarg>
#include <utility>

#include "core/InsertExpander.h"

namespace kw {

namespace {

constexpr size_t kMaxInserts = 99;

DWORD FormatWithArguments(wchar_t** buffer, const wchar_t* templ, ...)
{
    // From a string, allocating the buffer, maximum width (flags 0x5FF).
    constexpr DWORD kFlags =
        FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    va_list arguments;
    va_start(arguments, templ);
    const DWORD length = FormatMessageW(kFlags, templ, 0, 0, reinterpret_cast<wchar_t*>(buffer), 0, &arguments);
    va_end(arguments);
    return length;
}

// FormatMessageW reads its inserts from a va_list and cannot tell how many there are, so it is
// always handed all 99, the missing ones as empty text; CheckInserts has already refused a
// template that names one that was not given.
template <size_t... I>
DWORD FormatWithAll(wchar_t** buffer, const wchar_t* templ, const std::array<const wchar_t*, kMaxInserts>& values,
    std::index_sequence<I...>)
{
    return FormatWithArguments(buffer, templ, values[I]...);
}

} // namespace

ExpandedMessage FormatMessageFromString(std::wstring_view templ, std::span<const std::wstring> inserts)
{
    ExpandedMessage result;
    if (templ.empty())
        return result;
    if (inserts.size() > kMaxInserts || CheckInserts(templ, inserts.size()) != 0) {
        result.error = ERROR_INVALID_PARAMETER;
        return result;
    }
    std::array<const wchar_t*, kMaxInserts> values;
    values.fill(L"");
    for (size_t i = 0; i < inserts.size(); ++i)
        values[i] = inserts[i].c_str();
    const std::wstring text(templ);
    wchar_t* buffer = nullptr;
    const DWORD length = FormatWithAll(&buffer, text.c_str(), values, std::make_index_sequence<kMaxInserts>());
    if (length == 0) {
        result.error = GetLastError();
        if (result.error == ERROR_SUCCESS)
            result.error = ERROR_INVALID_PARAMETER;
    } else {
        result.text.assign(buffer, length);
    }
    if (buffer != nullptr)
        LocalFree(buffer);
    return result;
}

} // namespace kw
