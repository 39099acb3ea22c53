#pragma once
// The path-variable table built from places where no real setting lives: an application
// folder in a temporary folder (where kitew.ini is written), a settings sandbox for
// "Repository Path" and, on POSIX, fresh XDG data folders. The table is process-wide: it keeps
// the sandbox's variables afterwards, so every test that reads it builds it through one.
#include <memory>
#include <string>
#include <string_view>

#include "SettingsSandbox.h"
#include "TemporaryFolder.h"

namespace kw {

class AppPathsSandbox {
public:
    AppPathsSandbox();
    ~AppPathsSandbox();
    AppPathsSandbox(const AppPathsSandbox&) = delete;
    AppPathsSandbox& operator=(const AppPathsSandbox&) = delete;

    const std::wstring& ApplicationFolder() const { return application_.Path(); }
    std::wstring SettingsSubkey() const { return settings_.Subkey(L"Settings"); }
    const TemporaryFolder& Scratch() const { return scratch_; }

    // Writes kitew.ini beside the (pretended) executable.
    void WriteSettingsFile(std::string_view text) const;
    // Builds the table anew, as a new process would.
    void Rebuild() const;

private:
    struct Place; // the platform's system folders
    std::unique_ptr<Place> place_;
    SettingsSandbox settings_;
    TemporaryFolder application_;
    TemporaryFolder scratch_;
};

// Joins path pieces with the host's separator.
inline std::wstring JoinPath(std::wstring path, std::initializer_list<std::wstring_view> parts)
{
    for (std::wstring_view part : parts)
        path += kPathSeparator + std::wstring(part);
    return path;
}

} // namespace kw
