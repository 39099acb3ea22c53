#pragma once
// A place for settings where no real setting lives, removed at the end: on Windows a fresh
// key under HKEY_CURRENT_USER\Software\Orvanta\Kitewright\Tests, on POSIX a fresh
// XDG_CONFIG_HOME in a temporary folder, so that tests never touch the user's own settings.
#include <memory>
#include <string>
#include <string_view>

namespace kw {

class SettingsSandbox {
public:
    SettingsSandbox();
    ~SettingsSandbox();
    SettingsSandbox(const SettingsSandbox&) = delete;
    SettingsSandbox& operator=(const SettingsSandbox&) = delete;

    // A subkey path inside the sandbox.
    std::wstring Subkey(std::wstring_view name) const;

private:
    struct Place;
    std::unique_ptr<Place> place_;
};

} // namespace kw
