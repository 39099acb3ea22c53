#pragma once
// The per-user settings key.
//
// On Windows the settings key is a key under HKEY_CURRENT_USER. On POSIX it is a section of
// the INI file $XDG_CONFIG_HOME/Orvanta/Kitewright/Settings.ini (XDG_CONFIG_HOME unset,
// empty or relative: ~/.config), one section per subkey path and the same value names; see
// os/IniFile.h for how values are written there. Key and value names ignore case on both, as
// the registry does.
#include <memory>
#include <string>
#include <string_view>

namespace kw {

// A key under HKEY_CURRENT_USER holding the program's settings as string values. Failures
// are reported as false or empty text, with the system error saying why (2: the key or value
// does not exist, 5: the key was opened for reading only, 6: the key is not open).
class SettingsKey {
public:
    SettingsKey();
    ~SettingsKey();
    SettingsKey(SettingsKey&&) noexcept;
    SettingsKey& operator=(SettingsKey&&) noexcept;

    // Opens the subkey for reading (KEY_READ), or for reading and writing; opened for writing
    // a missing key is created, so that the program can keep its settings where nothing else
    // has made the key. A trailing backslash of the subkey is dropped. Opening a missing key
    // only for reading fails.
    bool Open(std::wstring_view subkey, bool write);
    bool IsOpen() const;

    // The string value; empty when it is absent or is not a string (REG_SZ or
    // REG_EXPAND_SZ, read as it is stored, unexpanded).
    std::wstring ReadString(std::wstring_view name) const;
    bool WriteString(std::wstring_view name, std::wstring_view value);
    bool DeleteValue(std::wstring_view name);

    // The subkey as opened, without a trailing backslash.
    const std::wstring& SubkeyPath() const { return subkey_; }

private:
    struct Store; // the platform's key or file
    std::unique_ptr<Store> store_;
    std::wstring subkey_;
};

} // namespace kw
