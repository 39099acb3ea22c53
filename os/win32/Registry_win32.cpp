// The settings key on Windows: a key under HKEY_CURRENT_USER. The registry functions answer
// their error instead of setting it; it is set here so that LastSystemError reads it.
#include <windows.h>

#include "os/Registry.h"
#include "os/win32/Handles_win32.h"

namespace kw {

namespace {

constexpr REGSAM kReadAccess = 0x20019; // KEY_READ
constexpr REGSAM kWriteAccess = 0x2001F; // KEY_READ, KEY_SET_VALUE and KEY_CREATE_SUB_KEY

bool Succeeded(LSTATUS status)
{
    SetLastError(static_cast<DWORD>(status));
    return status == ERROR_SUCCESS;
}

bool IsString(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ; }

} // namespace

struct SettingsKey::Store {
    RegistryKeyOwner key;
};

SettingsKey::SettingsKey() = default;
SettingsKey::~SettingsKey() = default;
SettingsKey::SettingsKey(SettingsKey&&) noexcept = default;
SettingsKey& SettingsKey::operator=(SettingsKey&&) noexcept = default;

bool SettingsKey::Open(std::wstring_view subkey, bool write)
{
    store_.reset();
    if (subkey.ends_with(L'\\'))
        subkey.remove_suffix(1);
    subkey_ = subkey;
    HKEY opened = nullptr;
    const LSTATUS status = write ? RegCreateKeyExW(HKEY_CURRENT_USER, subkey_.c_str(), 0, nullptr,
                                       REG_OPTION_NON_VOLATILE, kWriteAccess, nullptr, &opened, nullptr)
                                 : RegOpenKeyExW(HKEY_CURRENT_USER, subkey_.c_str(), 0, kReadAccess, &opened);
    if (status != ERROR_SUCCESS)
        return Succeeded(status);
    store_ = std::make_unique<Store>(Store{RegistryKeyOwner(opened)});
    return Succeeded(ERROR_SUCCESS);
}

bool SettingsKey::IsOpen() const { return store_ != nullptr; }

std::wstring SettingsKey::ReadString(std::wstring_view name) const
{
    if (!store_) {
        SetLastError(ERROR_INVALID_HANDLE);
        return {};
    }
    const std::wstring valueName(name);
    std::wstring text;
    // Asks the size, then reads; a value that grew in between is asked again.
    LSTATUS status = ERROR_MORE_DATA;
    DWORD type = REG_NONE;
    DWORD size = 0;
    while (status == ERROR_MORE_DATA) {
        status = RegQueryValueExW(store_->key.Get(), valueName.c_str(), nullptr, &type, nullptr, &size);
        if (status != ERROR_SUCCESS || !IsString(type))
            break;
        text.assign((size + 1) / sizeof(wchar_t), L'\0');
        size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
        status = RegQueryValueExW(
            store_->key.Get(), valueName.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &size);
    }
    if (!Succeeded(status))
        return {};
    if (!IsString(type)) {
        SetLastError(ERROR_INVALID_DATA);
        return {};
    }
    text.resize(size / sizeof(wchar_t));
    if (!text.empty() && text.back() == L'\0')
        text.pop_back();
    return text;
}

bool SettingsKey::WriteString(std::wstring_view name, std::wstring_view value)
{
    if (!store_)
        return Succeeded(ERROR_INVALID_HANDLE);
    const std::wstring text(value);
    // The length counts the terminator, as REG_SZ data carries it.
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    return Succeeded(RegSetValueExW(
        store_->key.Get(), std::wstring(name).c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), bytes));
}

bool SettingsKey::DeleteValue(std::wstring_view name)
{
    if (!store_)
        return Succeeded(ERROR_INVALID_HANDLE);
    return Succeeded(RegDeleteValueW(store_->key.Get(), std::wstring(name).c_str()));
}

} // namespace kw
