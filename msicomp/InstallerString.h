#pragma once
// The installer's two-call rule for text, written once: ask with an empty buffer and a size
// of 0; ERROR_MORE_DATA answers the length without its terminator, so the second call gets a
// buffer one larger. Readers of many values keep one buffer instead, and call twice only when
// a value does not fit it.
#include <string>
#include <string_view>

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

// The same with `buffer`, kept by the caller from one read to the next, as the first call's
// buffer: it grows to the longest value read and is never shrunk. `text` is then a view of the
// buffer, valid until the next read.
template <typename Getter> UINT ReadInstallerString(Getter&& get, std::wstring& buffer, std::wstring_view& text)
{
    constexpr size_t kInitialCapacity = 128;
    text = {};
    if (buffer.size() < kInitialCapacity)
        buffer.resize(kInitialCapacity);
    auto capacity = static_cast<DWORD>(buffer.size());
    UINT result = get(buffer.data(), &capacity);
    if (result == ERROR_MORE_DATA) {
        const DWORD length = capacity;
        buffer.resize(static_cast<size_t>(length) + 1);
        capacity = length + 1;
        result = get(buffer.data(), &capacity);
    }
    if (result != ERROR_SUCCESS)
        return result;
    // A length beyond the buffer is a broken contract, as above.
    if (capacity >= buffer.size())
        throw WindowsException(KW_HERE, kInvalidArgumentHresult);
    text = std::wstring_view(buffer.data(), capacity);
    return ERROR_SUCCESS;
}

} // namespace kw
