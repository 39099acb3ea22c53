#pragma once
// The installer's two-call rule for text, written once: ask with an empty buffer and a size
// of 0; ERROR_MORE_DATA answers the length without its terminator, so the second call gets a
// buffer one larger.
#include <string>

#include "core/Exception.h"
#include "msicomp/MsiApi.h"

namespace kw {

inline constexpr std::uint32_t kInvalidArgumentHresult = 0x80070057; // E_INVALIDARG

// `get(buffer, &size)` is one call of a getter such as MsiRecordGetStringW. Answers the
// first call's result when it is not ERROR_MORE_DATA (text is then empty), else the second
// call's. A length answered beyond the buffer is a broken contract and is thrown.
template <typename Getter> UINT ReadInstallerString(Getter&& get, std::wstring& text)
{
    text.clear();
    wchar_t empty[1] = {L'\0'};
    DWORD size = 0;
    UINT result = get(empty, &size);
    if (result != ERROR_MORE_DATA)
        return result;
    std::wstring buffer(static_cast<size_t>(size) + 1, L'\0');
    DWORD capacity = size + 1;
    result = get(buffer.data(), &capacity);
    if (result != ERROR_SUCCESS)
        return result;
    if (capacity > size + 1)
        throw WindowsException(KW_HERE, kInvalidArgumentHresult);
    buffer.resize(capacity);
    text = std::move(buffer);
    return ERROR_SUCCESS;
}

} // namespace kw
